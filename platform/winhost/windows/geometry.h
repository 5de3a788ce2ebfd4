// Positions and sizes of windows, in pixels.
#pragma once

#include <windows.h>

#include <optional>

namespace winhost {

// Turns the rectangle of a client area into that of its window.
void AddFrame(RECT& rectangle, DWORD style, DWORD exStyle);
// Returns the window's rectangle on the screen. None, with the last error set, when there is no such window.
std::optional<RECT> ScreenRect(HWND window);
// Tells a window of the calling thread the size and the place of its client area, unless it has been told before.
void TellFirstPlace(HWND window);
// Tells it what has changed. A change of size asks where the client area is, before it is told.
void TellChange(HWND window, const RECT& before, const RECT& after);
// The steps of these.
void AskClientArea(HWND window, RECT place);
void TellSize(HWND window);
void TellMove(HWND window);
void Resize(HWND window, LONG width, LONG height);

}  // namespace winhost
