// What all windows have in common: texts, styles, and the messages that they leave to the system.
#pragma once

#include <windows.h>

#include <string_view>

namespace winhost {

// A title that begins with this unit holds a resource's number instead of a text.
constexpr char16_t kNumberMark = 0xFFFF;

// Handles a message that nobody else handles.
LRESULT DefaultOf(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

// Copies at most cchBuffer code units, including the final 0. Returns the number of code units before that 0.
int CopyText(std::u16string_view text, LPWSTR buffer, int cchBuffer);

}  // namespace winhost
