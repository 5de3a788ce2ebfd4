// Top-level windows. A window's procedure learns of its creation and its end, of its title, and of what is
// sent or posted to it; what comes from painting, sizing and activation is not modelled, nor are child
// windows.
#include <algorithm>
#include <cstring>
#include <map>

#include "message_queue.h"
#include "window_table.h"

namespace winhost {

namespace {

constexpr ATOM kFirstClassAtom = 0xC001;

// Window classes of this process, by their upper-case names.
std::map<std::u16string, WNDPROC>& Classes() {
    static auto* classes = new std::map<std::u16string, WNDPROC>;
    return *classes;
}

// What this process alone knows of its windows.
struct OwnWindow {
    WNDPROC procedure;
    DWORD thread;
};

std::map<HWND, OwnWindow>& OwnWindows() {
    static auto* windows = [] {
        OnEnter([] { OwnWindows().clear(); });
        return new std::map<HWND, OwnWindow>;
    }();
    return *windows;
}

// The calling thread's own window; null for any other.
const OwnWindow* FindOwn(HWND window) {
    const auto found = OwnWindows().find(window);
    return found != OwnWindows().end() && found->second.thread == GetCurrentThreadId() ? &found->second
                                                                                       : nullptr;
}

LRESULT Send(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (const OwnWindow* own = FindOwn(window)) return own->procedure(window, message, wParam, lParam);
    if (WindowTable().Find(window)) NotModelled("SendMessageW", "a window of another thread");
    return 0;
}

// Copies at most cchText units, the closing 0 among them, and gives how many stand before it.
int CopyTitle(const WindowRecord& window, LPWSTR text, int cchText) {
    if (cchText <= 0) return 0;
    const auto length = std::min(wcslen(window.title), static_cast<std::size_t>(cchText) - 1);
    std::copy_n(window.title, length, text);
    text[length] = 0;
    return static_cast<int>(length);
}

void StoreTitle(WindowRecord& window, LPCWSTR title) {
    const std::u16string_view text = title ? title : u"";
    if (text.size() >= kTitleUnits) NotModelled("SetWindowTextW", "so long a title");
    std::fill(std::begin(window.title), std::end(window.title), u'\0');
    (void)text.copy(window.title, text.size());
}

// The styles that Windows gives a window whatever its maker says.
void CompleteStyles(WindowRecord& window) {
    window.style |= WS_CLIPSIBLINGS;
    if (!(window.style & WS_POPUP)) window.style |= WS_CAPTION;
    const bool framed = window.style & (WS_DLGFRAME | WS_THICKFRAME);
    const bool edged =
        (window.exStyle & WS_EX_DLGMODALFRAME) || (framed && !(window.exStyle & WS_EX_STATICEDGE));
    window.exStyle = edged ? window.exStyle | WS_EX_WINDOWEDGE : window.exStyle & ~WS_EX_WINDOWEDGE;
}

HWND AddWindow(const WindowRecord& window, WNDPROC procedure) {
    WindowTable table;
    const WindowRecord* const added = table.Add(window);
    if (!added) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    OpenInbox(*added);
    OwnWindows()[added->handle] = {procedure, added->thread};
    return added->handle;
}

void RemoveWindow(HWND window) {
    DropMessagesOf(window);
    WindowTable table;
    if (WindowRecord* const record = table.Find(window)) table.Remove(*record);
    OwnWindows().erase(window);
    const auto isOwn = [](const auto& entry) { return entry.second.thread == GetCurrentThreadId(); };
    if (std::none_of(OwnWindows().begin(), OwnWindows().end(), isOwn)) CloseInbox();
}

std::vector<HWND> Handles() {
    WindowTable table;
    std::vector<HWND> handles;
    for (const WindowRecord* window : table.All())
        handles.push_back(window->handle);
    return handles;
}

HWND OwnerOf(HWND window) {
    WindowTable table;
    const WindowRecord* const record = table.Find(window);
    return record ? record->owner : nullptr;
}

// A procedure may destroy the window itself on the way.
void Destroy(HWND window) {
    for (const HWND other : Handles())
        if (FindOwn(other) && OwnerOf(other) == window) Destroy(other);
    for (const UINT message : {WM_DESTROY, WM_NCDESTROY})
        if (FindOwn(window)) (void)Send(window, message, 0, 0);
    if (FindOwn(window)) RemoveWindow(window);
}

DWORD StyleOf(HWND window) {
    WindowTable table;
    const WindowRecord* const record = table.Find(window);
    return record ? record->style : 0;
}

}  // namespace

}  // namespace winhost

ATOM RegisterClassExW(const WNDCLASSEXW* windowClass) {
    if (winhost::Fails("RegisterClassExW")) return 0;
    if (windowClass->cbSize != sizeof *windowClass || !windowClass->lpfnWndProc ||
        !windowClass->lpszClassName) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    if (IS_INTRESOURCE(windowClass->lpszClassName) || windowClass->lpszMenuName)
        winhost::NotModelled("RegisterClassExW", "an atom or a menu");
    auto& classes = winhost::Classes();
    if (!classes.emplace(winhost::Upper(windowClass->lpszClassName), windowClass->lpfnWndProc).second) {
        SetLastError(ERROR_CLASS_ALREADY_EXISTS);
        return 0;
    }
    return static_cast<ATOM>(winhost::kFirstClassAtom + classes.size() - 1);
}

HWND CreateWindowExW(DWORD exStyle, LPCWSTR className, LPCWSTR title, DWORD style, int x, int y, int width,
                     int height, HWND parent, HMENU menu, HINSTANCE instance, LPVOID parameter) {
    if (winhost::Fails("CreateWindowExW")) return nullptr;
    if (IS_INTRESOURCE(className) || menu || (style & WS_CHILD) || parent == HWND_MESSAGE)
        winhost::NotModelled("CreateWindowExW", "an atom, a menu or another window than a top-level one");
    const auto found = winhost::Classes().find(winhost::Upper(className));
    if (found == winhost::Classes().end()) {
        SetLastError(ERROR_CANNOT_FIND_WND_CLASS);
        return nullptr;
    }
    if (parent && !winhost::WindowTable().Find(parent)) return nullptr;

    winhost::WindowRecord record = {};
    record.owner = parent;
    record.style = style;
    record.exStyle = exStyle;
    winhost::CompleteStyles(record);
    winhost::StoreTitle(record, title);
    const HWND window = winhost::AddWindow(record, found->second);
    if (!window) return nullptr;
    const CREATESTRUCTW creation = {
        parameter, instance,  menu,          parent, height, width, y, x, static_cast<LONG>(record.style),
        title,     className, record.exStyle};
    const auto creationParameter = reinterpret_cast<LPARAM>(&creation);
    if (!winhost::Send(window, WM_NCCREATE, 0, creationParameter)) {
        winhost::RemoveWindow(window);
        return nullptr;
    }
    if (winhost::Send(window, WM_CREATE, 0, creationParameter) == -1) winhost::Destroy(window);
    return winhost::FindOwn(window) ? window : nullptr;
}

BOOL DestroyWindow(HWND window) {
    if (winhost::Fails("DestroyWindow")) return FALSE;
    if (winhost::FindOwn(window)) {
        winhost::Destroy(window);
        return TRUE;
    }
    if (winhost::WindowTable().Find(window)) SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

LRESULT DefWindowProcW(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    (void)winhost::FaultOf("DefWindowProcW");
    if (message == WM_CLOSE) {
        if (winhost::FindOwn(window)) winhost::Destroy(window);
        return 0;
    }
    winhost::WindowTable table;
    winhost::WindowRecord* const record = table.Find(window);
    if (!record) return 0;
    switch (message) {
        case WM_NCCREATE:
            return TRUE;
        case WM_SETTEXT:
            winhost::StoreTitle(*record, reinterpret_cast<LPCWSTR>(lParam));
            return TRUE;
        case WM_GETTEXT:
            return winhost::CopyTitle(*record, reinterpret_cast<LPWSTR>(lParam), static_cast<int>(wParam));
        case WM_GETTEXTLENGTH:
            return static_cast<LRESULT>(wcslen(record->title));
        default:
            return 0;
    }
}

LRESULT SendMessageW(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (winhost::Fails("SendMessageW")) return 0;
    return winhost::Send(window, message, wParam, lParam);
}

LRESULT DispatchMessageW(const MSG* message) {
    (void)winhost::FaultOf("DispatchMessageW");
    if (!message->hwnd) return 0;
    return winhost::Send(message->hwnd, message->message, message->wParam, message->lParam);
}

// The windows are those of the moment of the call; one that has gone since is left out.
BOOL EnumWindows(WNDENUMPROC callback, LPARAM context) {
    if (winhost::Fails("EnumWindows")) return FALSE;
    for (const HWND window : winhost::Handles()) {
        if (!winhost::WindowTable().Find(window)) continue;
        if (!callback(window, context)) return FALSE;
    }
    return TRUE;
}

DWORD GetWindowThreadProcessId(HWND window, LPDWORD process) {
    if (winhost::Fails("GetWindowThreadProcessId", ERROR_INVALID_WINDOW_HANDLE)) return 0;
    winhost::WindowTable table;
    const winhost::WindowRecord* const record = table.Find(window);
    if (!record) return 0;
    if (process) *process = record->process;
    return record->thread;
}

HWND GetWindow(HWND window, UINT relation) {
    if (winhost::Fails("GetWindow", ERROR_INVALID_WINDOW_HANDLE)) return nullptr;
    if (relation != GW_OWNER) winhost::NotModelled("GetWindow", "relation " + std::to_string(relation));
    return winhost::OwnerOf(window);
}

LONG GetWindowLongW(HWND window, int index) {
    if (winhost::Fails("GetWindowLongW", ERROR_INVALID_WINDOW_HANDLE)) return 0;
    if (index != GWL_STYLE && index != GWL_EXSTYLE)
        winhost::NotModelled("GetWindowLongW", "index " + std::to_string(index));
    winhost::WindowTable table;
    const winhost::WindowRecord* const record = table.Find(window);
    if (!record) return 0;
    return static_cast<LONG>(index == GWL_STYLE ? record->style : record->exStyle);
}

// The procedure of a window of another thread is not asked: what counts is the title that others see.
int GetWindowTextW(HWND window, LPWSTR text, int cchText) {
    if (winhost::Fails("GetWindowTextW", ERROR_INVALID_WINDOW_HANDLE)) return 0;
    if (winhost::FindOwn(window))
        return static_cast<int>(
            winhost::Send(window, WM_GETTEXT, static_cast<WPARAM>(cchText), reinterpret_cast<LPARAM>(text)));
    winhost::WindowTable table;
    const winhost::WindowRecord* const record = table.Find(window);
    return record ? winhost::CopyTitle(*record, text, cchText) : 0;
}

BOOL SetWindowTextW(HWND window, LPCWSTR text) {
    if (winhost::Fails("SetWindowTextW")) return FALSE;
    return winhost::Send(window, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text)) != 0;
}

BOOL IsWindow(HWND window) {
    if (winhost::Fails("IsWindow")) return FALSE;
    return winhost::WindowTable().Find(window) != nullptr;
}

BOOL IsWindowEnabled(HWND window) {
    if (winhost::Fails("IsWindowEnabled")) return FALSE;
    winhost::WindowTable table;
    const winhost::WindowRecord* const record = table.Find(window);
    return record && !(record->style & WS_DISABLED);
}

BOOL EnableWindow(HWND window, BOOL enable) {
    if (winhost::Fails("EnableWindow")) return FALSE;
    winhost::WindowTable table;
    winhost::WindowRecord* const record = table.Find(window);
    if (!record) return FALSE;
    const bool wasDisabled = record->style & WS_DISABLED;
    record->style = enable ? record->style & ~WS_DISABLED : record->style | WS_DISABLED;
    return wasDisabled;
}

BOOL IsWindowVisible(HWND window) {
    if (winhost::Fails("IsWindowVisible")) return FALSE;
    return (winhost::StyleOf(window) & WS_VISIBLE) != 0;
}

BOOL ShowWindow(HWND window, int command) {
    if (winhost::Fails("ShowWindow")) return FALSE;
    winhost::WindowTable table;
    winhost::WindowRecord* const record = table.Find(window);
    if (!record) return FALSE;
    const bool wasVisible = record->style & WS_VISIBLE;
    switch (command) {
        case SW_HIDE:
            record->style &= ~WS_VISIBLE;
            return wasVisible;
        case SW_SHOWMINIMIZED:
        case SW_MINIMIZE:
            record->style |= WS_VISIBLE | WS_MINIMIZE;
            return wasVisible;
        case SW_SHOWNORMAL:
        case SW_RESTORE:
            record->style &= ~(WS_MINIMIZE | WS_MAXIMIZE);
            break;
        case SW_SHOW:
            break;
        default:
            winhost::NotModelled("ShowWindow", "command " + std::to_string(command));
    }
    record->style |= WS_VISIBLE;
    table.Raise(*record);
    table.foreground() = window;
    return wasVisible;
}

HWND GetForegroundWindow() {
    if (winhost::Fails("GetForegroundWindow")) return nullptr;
    winhost::WindowTable table;
    const HWND window = table.foreground();
    return window && table.Find(window) ? window : nullptr;
}

BOOL SetForegroundWindow(HWND window) {
    if (winhost::Fails("SetForegroundWindow")) return FALSE;
    winhost::WindowTable table;
    winhost::WindowRecord* const record = table.Find(window);
    if (!record) return FALSE;
    table.Raise(*record);
    table.foreground() = window;
    return TRUE;
}
