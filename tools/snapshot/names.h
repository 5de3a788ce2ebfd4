// Names that mean the same on every machine.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace snapshot {

// What differs from machine to machine, and its name: a path within another one stands in front of it. The
// first call makes shell folders that are missing.
const std::vector<std::pair<std::string, std::string>>& Names();

// The text with names for what differs from machine to machine: <Desktop>, <CommonDesktop>, <Programs>,
// <Startup> and so on for folders of the shell, <Temp>, HKCU for the user's own key below HKEY_USERS, and
// uni*.tmp for the uninstaller's temporary copy.
std::string Neutral(std::string text);

}  // namespace snapshot
