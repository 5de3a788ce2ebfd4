// Which window is shown, which is active, and which has the
// focus. A thread has at most one active window and one focus.
#pragma once

#include <windows.h>

namespace winhost {

// Does what another thread asks of a window of the calling thread. The orders are those of focus.cpp. The answer is 0.
LRESULT CarryOut(HWND window, UINT order, WPARAM value);
// Shows a window. A top-level window also becomes active.
void Reveal(HWND window);
// Allows a window to take input, or not. Tells it so.
void Enable(HWND window, bool enable);
// Hides a window. If a child of it has the focus, the parent
// gets it. If the window is active, another one becomes active.
void Hide(HWND window);
// Makes another window active if this one is: its owner, or else the top one of the thread's.
void Leave(HWND window);
// Puts a top-level window on top and makes it the active window of its thread. With null, the calling thread has no
// active window. Another thread is told when it next takes messages, also that its window is active no more.
void Activate(HWND window);
// Returns the window that has the calling thread's focus.
HWND Focus();
// Sets the focus to a window of the calling thread, or to none for null. Returns false when the window can't have it.
bool GiveFocus(HWND window);
// Whether `window` is `other` or lies inside it.
bool LiesIn(HWND window, HWND other);

}  // namespace winhost
