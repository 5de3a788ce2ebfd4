// The keyboard in dialogs.
#pragma once

#include <windows.h>

#include "core/host_io.h"

namespace winhost {

// Returns which keys a control wants: DLGC_ flags.
LRESULT CodeOf(HWND control);
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
// Does what a message means to a dialog. Returns false when the message is meant for another window.
bool CarryOutDialogMessage(HWND dialog, const MSG& message);

}  // namespace winhost
