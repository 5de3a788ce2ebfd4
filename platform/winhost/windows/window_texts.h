// What all windows do and tell: their texts and styles, and what they leave to the system.
#pragma once

#include <windows.h>

#include <string_view>

namespace winhost {

// What nobody else wants to do with a message.
LRESULT DefaultOf(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

// Copies at most cchBuffer units, with the closing 0, and returns the number of units before that 0.
int CopyText(std::u16string_view text, LPWSTR buffer, int cchBuffer);

}  // namespace winhost
