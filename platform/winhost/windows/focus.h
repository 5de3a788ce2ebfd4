// Which window is shown, which is active, and which has the focus. A thread has one active window and one
// focus.
#pragma once

#include <windows.h>

#include "core/host_io.h"

namespace winhost {

// Shows a window; a top-level one becomes active.
void Reveal(HWND window);
// Hides a window; the focus in a child goes to its parent, and another window becomes active for an active
// one.
void Hide(HWND window);
// Puts a top-level window on top and makes it its thread's active one. Null leaves the thread without one.
void Activate(HWND window);
// The window with the calling thread's focus.
HWND Focus();
// Gives the focus to a window of the calling thread, or takes it away. False when the window can't have it.
bool GiveFocus(HWND window);
// Whether a window is another or lies in it.
bool LiesIn(HWND window, HWND other);

}  // namespace winhost
