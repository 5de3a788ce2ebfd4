// Names that mean the same on every machine.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace snapshot {

// Texts that differ between machines, each with a name. If one path contains another, the inner one is first. The first
// call makes missing shell folders.
const std::vector<std::pair<std::string, std::string>>& Names();

// The text with names instead of what differs from machine to machine: <Desktop>, <CommonDesktop>, <Programs>,
// <Startup> and so on for folders of the shell, <Temp>, HKCU for the user's own key below HKEY_USERS, and
// uni*.tmp for the uninstaller's temporary copy.
std::string Neutral(std::string text);

}  // namespace snapshot
