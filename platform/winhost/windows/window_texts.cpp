// What all windows have in common: texts, styles, and the messages that they leave to the system.
#include "windows/window_texts.h"

#include <algorithm>

#include "core/faults.h"
#include "core/machine.h"
#include "messages/own_windows.h"
#include "messages/sent_messages.h"
#include "messages/window_table.h"
#include "windows/creation.h"
#include "windows/focus.h"
#include "windows/relations.h"

namespace winhost {

namespace {

void StoreTitle(HWND window, LPCWSTR title) {
    const std::u16string_view text = title && *title != kNumberMark ? title : u"";
    if (text.size() >= kTitleUnits) NotModelled("SetWindowTextW", "a title of more than 1023 characters");
    WindowTable table;
    WindowRecord* const record = table.Find(window);
    if (!record) return;
    std::fill(std::begin(record->title), std::end(record->title), u'\0');
    (void)text.copy(record->title, text.size());
}

// Returns the place of a value that only the window's own process has.
LONG_PTR* OwnLong(HWND window, int index) {
    if (index == GWLP_USERDATA) {
        OwnWindow* const own = FindOfProcess(window);
        return own ? &own->userData : nullptr;
    }
    ControlState* const state = StateOf<ControlState>(window);
    return state ? state->Long(index) : nullptr;
}

LONG_PTR LongOf(const char* call, HWND window, int index) {
    const auto record = Look(window);
    if (!record) return 0;
    switch (index) {
        case GWL_STYLE:
            return static_cast<LONG>(record->style);
        case GWL_EXSTYLE:
            return static_cast<LONG>(record->exStyle);
        case GWLP_ID:
            return record->id;
        default:
            if (const LONG_PTR* const kept = OwnLong(window, index)) return *kept;
            NotModelled(call, "index " + std::to_string(index));
    }
}

// Whether the message has no effect on a window that leaves it to the system.
bool HasNoEffect(UINT message) {
    constexpr UINT kMessages[] = {WM_NULL,       WM_CREATE,     WM_DESTROY,    WM_MOVE,
                                  WM_SIZE,       WM_SETFOCUS,   WM_KILLFOCUS,  WM_ENABLE,
                                  WM_ENDSESSION, WM_SHOWWINDOW, WM_CANCELMODE, WM_NEXTDLGCTL,
                                  WM_NCDESTROY,  WM_NCCALCSIZE, WM_GETDLGCODE, WM_KEYDOWN,
                                  WM_CHAR,       WM_INITDIALOG, WM_COMMAND,    WM_PARENTNOTIFY};
    constexpr UINT kFirstOfControls = EM_GETSEL, kLastOfControls = BM_CLICK, kFirstOfClipboard = WM_CUT;
    return message >= WM_USER || (message >= kFirstOfControls && message <= kLastOfControls) ||
           (message >= kFirstOfClipboard && message <= WM_UNDO) ||
           std::find(std::begin(kMessages), std::end(kMessages), message) != std::end(kMessages);
}

// Commands of the window's own menu, and the keys for them.
LRESULT CommandOfMenu(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    constexpr WORD kAltDown = 0x2000;
    constexpr WPARAM kCommandBits = 0xFFF0, kAlt = 0x12, kMenuKey = 0x5D, kF10 = 0x79;
    const bool opens = message == WM_SYSCHAR    ? wParam == VK_SPACE
                       : message == WM_KEYUP    ? wParam == kMenuKey
                       : message == WM_SYSKEYUP ? wParam == kAlt || wParam == kF10
                                                : false;
    if (opens) NotModelled("DefWindowProcW", "a key that opens a window's menu");
    if (message == WM_SYSCHAR || message == WM_KEYUP || message == WM_SYSKEYUP) return 0;
    if (message == WM_SYSKEYDOWN) {
        const bool closes = wParam == VK_F4 && (HIWORD(lParam) & kAltDown);
        return closes ? CallProcedure(RootOf(window), WM_SYSCOMMAND, SC_CLOSE, 0) : 0;
    }
    if ((wParam & kCommandBits) != SC_CLOSE)
        NotModelled("DefWindowProcW", "the command " + std::to_string(wParam) + " of a window's menu");
    return CallProcedure(window, WM_CLOSE, 0, 0);
}

// Only controls and dialogs keep a font.
LRESULT KeepFont(HWND window, UINT message, WPARAM wParam) {
    OwnWindow* const own = FindOwnWindow(window);
    if (!own || !own->state) return 0;
    if (message == WM_GETFONT) return own->font;
    own->font = static_cast<LRESULT>(wParam);
    return 0;
}

LRESULT TextAnswer(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    const auto record = Look(window);
    if (!record) return 0;
    if (message == WM_GETTEXTLENGTH) return static_cast<LRESULT>(wcslen(record->title));
    return CopyText(record->title, reinterpret_cast<LPWSTR>(lParam), static_cast<int>(wParam));
}

}  // namespace

int CopyText(std::u16string_view text, LPWSTR buffer, int cchBuffer) {
    if (cchBuffer <= 0) return 0;
    const auto length = std::min(text.size(), static_cast<std::size_t>(cchBuffer) - 1);
    std::copy_n(text.data(), length, buffer);
    buffer[length] = 0;
    return static_cast<int>(length);
}

LRESULT DefaultOf(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_CLOSE:
            if (FindOwnWindow(window)) Destroy(window);
            return 0;
        case WM_QUERYENDSESSION:
            return TRUE;
        case WM_ACTIVATE:
            if (LOWORD(wParam) != WA_INACTIVE) (void)GiveFocus(window);
            return 0;
        case WM_NCCREATE:
            StoreTitle(window, reinterpret_cast<const CREATESTRUCTW*>(lParam)->lpszName);
            return TRUE;
        case WM_SETTEXT:
            StoreTitle(window, reinterpret_cast<LPCWSTR>(lParam));
            return TRUE;
        case WM_GETTEXT:
        case WM_GETTEXTLENGTH:
            return TextAnswer(window, message, wParam, lParam);
        case WM_NCACTIVATE:
            return TRUE;
        case WM_SETFONT:
        case WM_GETFONT:
            return KeepFont(window, message, wParam);
        case WM_KEYUP:
        case WM_SYSKEYDOWN:
        case WM_SYSKEYUP:
        case WM_SYSCHAR:
        case WM_SYSCOMMAND:
            return CommandOfMenu(window, message, wParam, lParam);
        default:
            if (!HasNoEffect(message)) NotModelled("DefWindowProcW", "message " + std::to_string(message));
            return 0;
    }
}

}  // namespace winhost

LRESULT DefWindowProcW(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    (void)winhost::FaultOf("DefWindowProcW");
    return winhost::DefaultOf(window, message, wParam, lParam);
}

LONG GetWindowLongW(HWND window, int index) {
    if (winhost::Fails("GetWindowLongW", ERROR_INVALID_WINDOW_HANDLE)) return 0;
    return static_cast<LONG>(winhost::LongOf("GetWindowLongW", window, index));
}

LONG_PTR GetWindowLongPtrW(HWND window, int index) {
    if (winhost::Fails("GetWindowLongPtrW", ERROR_INVALID_WINDOW_HANDLE)) return 0;
    return winhost::LongOf("GetWindowLongPtrW", window, index);
}

LONG_PTR SetWindowLongPtrW(HWND window, int index, LONG_PTR value) {
    if (winhost::Fails("SetWindowLongPtrW", ERROR_INVALID_WINDOW_HANDLE)) return 0;
    if (!winhost::Look(window)) return 0;
    LONG_PTR* const kept = winhost::OwnLong(window, index);
    if (!kept) winhost::NotModelled("SetWindowLongPtrW", "index " + std::to_string(index));
    return std::exchange(*kept, value);
}

// The process of another window is not asked. The result is the title that others see.
int GetWindowTextW(HWND window, LPWSTR text, int cchText) {
    if (winhost::Fails("GetWindowTextW", ERROR_INVALID_WINDOW_HANDLE)) return 0;
    if (cchText > 0) *text = 0;
    const auto record = winhost::Look(window);
    if (!record) return 0;
    if (record->process != GetCurrentProcessId()) return winhost::CopyText(record->title, text, cchText);
    return static_cast<int>(
        winhost::Send(window, WM_GETTEXT, static_cast<WPARAM>(cchText), reinterpret_cast<LPARAM>(text)));
}

int GetWindowTextLengthW(HWND window) {
    if (winhost::Fails("GetWindowTextLengthW", ERROR_INVALID_WINDOW_HANDLE)) return 0;
    const auto record = winhost::Look(window);
    if (!record) return 0;
    if (record->process != GetCurrentProcessId()) return static_cast<int>(wcslen(record->title));
    return static_cast<int>(winhost::Send(window, WM_GETTEXTLENGTH, 0, 0));
}

BOOL SetWindowTextW(HWND window, LPCWSTR text) {
    if (winhost::Fails("SetWindowTextW")) return FALSE;
    return winhost::Send(window, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text)) != 0;
}

int GetClassNameW(HWND window, LPWSTR name, int cchName) {
    if (winhost::Fails("GetClassNameW", ERROR_INVALID_WINDOW_HANDLE)) return 0;
    const auto record = winhost::Look(window);
    return record ? winhost::CopyText(record->kind, name, cchName) : 0;
}

BOOL IsWindow(HWND window) {
    if (winhost::Fails("IsWindow")) return FALSE;
    return winhost::Look(window).has_value();
}

BOOL IsWindowEnabled(HWND window) {
    if (winhost::Fails("IsWindowEnabled")) return FALSE;
    const auto record = winhost::Look(window);
    return record && !(record->style & WS_DISABLED);
}

// A window is visible if it and all windows around it are shown.
BOOL IsWindowVisible(HWND window) {
    if (winhost::Fails("IsWindowVisible")) return FALSE;
    return winhost::Shows(window);
}

BOOL UpdateWindow(HWND window) {
    if (winhost::Fails("UpdateWindow")) return FALSE;
    return winhost::Look(window).has_value();
}
