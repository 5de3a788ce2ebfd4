// What each dialog stores, and its window procedure.
#pragma once

#include <windows.h>

#include "messages/own_windows.h"

namespace winhost {

struct DialogState : ControlState {
    LONG_PTR* Long(int index) override;

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

// Lets RunModal return `result`. Has no effect on a window that is no dialog of this thread.
void EndModal(HWND dialog, INT_PTR result);

// The window procedure of the class of dialogs.
LRESULT DialogProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

}  // namespace winhost
