// Names that mean the same on every machine.
#pragma once

#include <string>

namespace snapshot {

// The text with names for what differs from machine to machine: <Desktop>, <CommonDesktop>, <Programs>,
// <Startup> and so on for folders of the shell, <Temp>, HKCU for the user's own key below HKEY_USERS, and
// uni*.tmp for the uninstaller's temporary copy. The first call makes shell folders that are missing.
std::string Neutral(std::string text);

}  // namespace snapshot
