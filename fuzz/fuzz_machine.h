// For all fuzz targets: one embedded machine for the whole process, which is emptied before each input.
#pragma once

#include <framework.h>

#include <functional>
#include <string>
#include <string_view>

// Each target defines it; it is called with each input.
void TryInput(std::string_view input);

// If the property does not hold, ends the process, so that the fuzzer stores the input as a failing one.
void Require(bool holds, const char* property);

// Runs `act` to its end, or to where it asks for what the embedded machine doesn't model; false for that.
bool RunModelled(const std::function<void()>& act);

// Empties the drives of the machine except for C:\Windows, which becomes the current folder, and deletes its events.
void ClearMachine();

// Closes the handles that an input has left open, so that they don't slow down the next ones. Returns their number.
unsigned CloseHandles();

// Files of the machine, by their paths in its folder ("C/Apps/x"). Get also takes a full path of the host, and returns an empty text for
// a file that can't be read.
void Put(const std::string& path, std::string_view bytes);
std::string Get(const std::string& path);
