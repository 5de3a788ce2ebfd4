// What the fuzz targets share: one embedded machine for the whole process, emptied before each input.
#pragma once

#include <framework.h>

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

// Each target defines it; the fuzzer and replay.cpp call it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// Keeps the input as a failing one, unless the property holds.
void Require(bool holds, const char* property);

// Runs `act` to its end, or to where it asks for what the embedded machine doesn't model; false for that.
bool RunModelled(const std::function<void()>& act);

// Empties the machine's drives but for C:\Windows, which becomes the current folder, and forgets its events.
void ClearMachine();

// Closes what an input has left open, so that it costs the next ones nothing. Gives the number of handles.
unsigned CloseHandles();

// Files of the machine, by their paths below its folder ("C/Apps/x"). What can't be read is empty.
void Put(const std::string& path, std::string_view bytes);
std::string Get(const std::string& path);

inline std::string_view Bytes(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}
