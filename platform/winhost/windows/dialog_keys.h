// The keyboard in dialogs.
#pragma once

#include <windows.h>

#include "core/host_io.h"

namespace winhost {

// What a control wants of a dialog: DLGC_ flags.
LRESULT CodeOf(HWND control);
// The next control that Tab goes to, children of control parents among them; null when there is none. From
// the dialog itself or from null on it is the first one, and none is before them.
HWND NextTabItem(HWND dialog, HWND control, bool previous);
// The next control of a group; the control itself when the group has no other.
HWND NextGroupItem(HWND control, bool previous);
HWND FirstItem(HWND dialog);
// Gives a control the focus as a key does: the text of an edit is selected.
void FocusControl(HWND control);
// The default button follows the focus: a push button that has it is the one.
void MoveDefaultButton(HWND dialog, HWND before, HWND after);
// Carries out what a message means to a dialog; false when it is meant for another window.
bool CarryOutDialogMessage(HWND dialog, const MSG& message);

}  // namespace winhost
