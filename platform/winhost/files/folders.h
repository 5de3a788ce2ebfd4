// The current folder and the folders of the system.
#pragma once

#include <windows.h>

#include <string_view>

namespace winhost {

// Copies the text with its terminator. Returns its length, or the size of the needed buffer when this one is too small.
DWORD CopyOut(std::u16string_view text, LPWSTR buffer, DWORD cchBuffer);
// Claims the current folder for this process, so that nobody removes or renames it. A process that is started inside the machine
// calls this at its start.
void ClaimCurrentFolder();

}  // namespace winhost
