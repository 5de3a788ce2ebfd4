// The current folder and the system's own ones.
#pragma once

#include <windows.h>

#include <string_view>

namespace winhost {

// Copies text and its end out; returns its length, or the size that the buffer would need when it is too
// small.
DWORD CopyOut(std::u16string_view text, LPWSTR buffer, DWORD cchBuffer);
// Claims the current folder for this process, so that nobody removes or renames it. A process that was
// started inside the machine calls this as it begins.
void ClaimCurrentFolder();

}  // namespace winhost
