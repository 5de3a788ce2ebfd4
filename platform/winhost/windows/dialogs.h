// Dialogs: what each keeps, and its procedure.
#pragma once

#include <windows.h>

#include <optional>

#include "core/host_io.h"
#include "windows/dialog_template.h"
#include "windows/own_windows.h"

namespace winhost {

struct DialogState : ControlState {
    DLGPROC procedure = nullptr;
    LONG_PTR messageResult = 0;
    LONG_PTR user = 0;
    INT_PTR result = IDOK;  // the number of its default button, until it has ended
    bool ended = false;
    HWND savedFocus = nullptr;     // while it is not active
    HWND disabledOwner = nullptr;  // enabled again when it ends
    LONG baseX = 0;
    LONG baseY = 0;
};

// Makes a modal dialog and runs it until EndModal, whose value it returns; -1 when it can't be made. `answer`
// is called after all waiting messages are dispatched: it uses the dialog as a person would, or returns
// false to wait for messages.
INT_PTR RunModal(std::optional<DialogTemplate> dialog, HINSTANCE module, HWND owner, DLGPROC procedure,
                 LPARAM parameter, bool (*answer)(HWND dialog));
void EndModal(HWND dialog, INT_PTR result);

LRESULT DialogProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

// What a dialog keeps under one of the DWLP_ indices; null when the window is none, or the index none of
// them.
LONG_PTR* DialogLong(HWND window, int index);

}  // namespace winhost
