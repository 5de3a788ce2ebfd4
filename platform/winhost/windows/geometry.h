// Where windows lie; pixels.
#pragma once

#include <windows.h>

#include <optional>

namespace winhost {

// Makes a window's rectangle of its client area's.
void AddFrame(RECT& rectangle, DWORD style, DWORD exStyle);
// The window's rectangle on the screen; none, with the last error set, when it is no window.
std::optional<RECT> ScreenRect(HWND window);
void Resize(HWND window, LONG width, LONG height);

}  // namespace winhost
