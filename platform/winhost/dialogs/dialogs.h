// Dialogs: what each one stores, and its procedure.
#pragma once

#include <windows.h>

#include <optional>

#include "core/host_io.h"
#include "dialogs/dialog_template.h"
#include "messages/own_windows.h"

namespace winhost {

struct DialogState : ControlState {
    DLGPROC procedure = nullptr;
    LONG_PTR messageResult = 0;
    LONG_PTR user = 0;
    INT_PTR result = IDOK;  // until the dialog has ended: the number of its default button
    bool ended = false;
    HWND savedFocus = nullptr;     // the control to focus when the dialog becomes active again
    HWND disabledOwner = nullptr;  // enabled again when the dialog ends
    LONG baseX = 0;
    LONG baseY = 0;
};

// Makes a modal dialog and runs it until EndModal. Returns the value given to EndModal, or -1 when the dialog can't be
// made. `answer` is called each time all waiting messages are dispatched: it uses the dialog as a person would, or
// returns false to wait for messages.
INT_PTR RunModal(std::optional<DialogTemplate> dialog, HINSTANCE module, HWND owner, DLGPROC procedure,
                 LPARAM parameter, bool (*answer)(HWND dialog));
// Lets RunModal return `result`. Does nothing for a window that is no dialog of this thread.
void EndModal(HWND dialog, INT_PTR result);

// The window procedure of the class of dialogs.
LRESULT DialogProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

// Returns the place of the value that a dialog stores under a DWLP_ index. Null when the window is no dialog of this
// process, or there is no such index.
LONG_PTR* DialogLong(HWND window, int index);

}  // namespace winhost
