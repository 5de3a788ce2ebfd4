// Positions and sizes of windows, in pixels.
#pragma once

#include <windows.h>

#include <optional>

namespace winhost {

// Turns the rectangle of a client area into that of its window.
void AddFrame(RECT& rectangle, DWORD style, DWORD exStyle);
// Returns the window's rectangle on the screen. None, with the last error set, when there is no such window.
std::optional<RECT> ScreenRect(HWND window);
void Resize(HWND window, LONG width, LONG height);

}  // namespace winhost
