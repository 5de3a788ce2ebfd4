#include "common/message_boxes.h"

#include <cwchar>

#include "common/hang.h"

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

WideText TextOf(HWND window) {
    WideText text(static_cast<std::size_t>(SendMessageW(window, WM_GETTEXTLENGTH, 0, 0)) + 1, 0);
    text.resize(static_cast<std::size_t>(
        SendMessageW(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()))));
    return text;
}

int SafestButton(HWND box) {
    return GetDlgItem(box, IDNO) ? IDNO : GetDlgItem(box, IDCANCEL) ? IDCANCEL : IDOK;
}

void AnswerBox(HWND box, int button) {
    DWORD_PTR result;
    SendMessageTimeoutW(box, WM_COMMAND, static_cast<WPARAM>(button), 0, SMTO_NORMAL, kHangMs, &result);
}

}  // namespace tools
