// Finds, reads and sets the controls of a dialog by their ids.
#include "controls/dialog_items.h"

#include "core/faults.h"
#include "messages/sent_messages.h"
#include "messages/window_table.h"

namespace winhost {

HWND ControlOf(HWND dialog, int id) {
    for (const HWND child : ChildWindows(dialog))
        if (const auto record = Look(child); record && record->id == id) return child;
    return nullptr;
}

}  // namespace winhost

HWND GetDlgItem(HWND dialog, int id) {
    if (winhost::Fails("GetDlgItem", ERROR_INVALID_WINDOW_HANDLE)) return nullptr;
    if (!winhost::Look(dialog)) return nullptr;
    const HWND control = winhost::ControlOf(dialog, id);
    if (!control) SetLastError(ERROR_CONTROL_ID_NOT_FOUND);
    return control;
}

int GetDlgCtrlID(HWND window) {
    if (winhost::Fails("GetDlgCtrlID", ERROR_INVALID_WINDOW_HANDLE)) return 0;
    const auto record = winhost::Look(window);
    return record ? record->id : 0;
}

UINT GetDlgItemTextW(HWND dialog, int id, LPWSTR text, int cchText) {
    if (winhost::Fails("GetDlgItemTextW", ERROR_INVALID_WINDOW_HANDLE)) return 0;
    if (cchText > 0) *text = 0;
    const HWND control = GetDlgItem(dialog, id);
    return control ? static_cast<UINT>(GetWindowTextW(control, text, cchText)) : 0;
}

UINT IsDlgButtonChecked(HWND dialog, int id) {
    if (winhost::Fails("IsDlgButtonChecked")) return BST_UNCHECKED;
    const HWND control = GetDlgItem(dialog, id);
    return control ? static_cast<UINT>(winhost::Send(control, BM_GETCHECK, 0, 0)) : BST_UNCHECKED;
}

BOOL CheckRadioButton(HWND dialog, int first, int last, int checked) {
    if (winhost::Fails("CheckRadioButton")) return FALSE;
    if (!winhost::Look(dialog)) return FALSE;
    for (const HWND control : winhost::ChildWindows(dialog)) {
        const auto record = winhost::Look(control);
        if (record && record->id >= first && record->id <= last)
            (void)winhost::Send(control, BM_SETCHECK, record->id == checked ? BST_CHECKED : BST_UNCHECKED, 0);
    }
    return TRUE;
}
