// The order of a dialog's controls, and which of them has the focus or is the default button.
#pragma once

#include <windows.h>

#include <vector>

namespace winhost {

// Returns which keys a control wants: DLGC_ flags.
LRESULT CodeOf(HWND control);
// Returns the controls that are shown and enabled, from the one after `control` on. After the last one the first one
// follows, and `control` comes last.
std::vector<HWND> ControlsAfter(HWND dialog, HWND control);
// Returns the control that Tab goes to from `control`, or the one before it when `previous` is set. Controls inside
// control parents count too. Returns null when there is none. From the dialog itself, or from null, the next one is the
// first, and there is none before.
HWND NextTabItem(HWND dialog, HWND control, bool previous);
// Returns the next or previous control of the group. It is the control itself when the group has no other.
HWND NextGroupItem(HWND control, bool previous);
HWND FirstItem(HWND dialog);
// Sets the focus as a key does: the text of an edit is selected.
void FocusControl(HWND control);
// Makes the push button with the focus the default button. `before` had the focus, `after` has it now.
void MoveDefaultButton(HWND dialog, HWND before, HWND after);

}  // namespace winhost
