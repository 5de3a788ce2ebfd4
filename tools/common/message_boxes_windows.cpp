#include "common/message_boxes.h"

#include <cwchar>

namespace tools {

namespace {

constexpr int kLastBoxButton = 11;

}  // namespace

bool IsMessageBox(HWND window) {
    bool box = IsWindowVisible(window) && GetDlgItem(window, kBoxText);
    for (HWND child = GetWindow(window, GW_CHILD); child && box; child = GetWindow(child, GW_HWNDNEXT)) {
        WCHAR kind[MAX_PATH] = {};
        GetClassNameW(child, kind, MAX_PATH);
        const int id = GetDlgCtrlID(child);
        box =
            !_wcsicmp(kind, L"Static") || (!_wcsicmp(kind, L"Button") && id >= IDOK && id <= kLastBoxButton);
    }
    return box;
}

}  // namespace tools
