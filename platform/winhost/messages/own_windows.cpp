// The classes and windows of this process. Makes and destroys its windows.
#include "messages/own_windows.h"

#include <algorithm>
#include <map>
#include <mutex>

#include "core/faults.h"
#include "core/host_io.h"
#include "core/machine.h"
#include "core/text.h"
#include "controls/buttons.h"
#include "dialogs/dialogs.h"
#include "controls/edits.h"
#include "windows/focus.h"
#include "messages/message_queue.h"
#include "controls/statics.h"
#include "messages/window_table.h"

namespace winhost {

namespace {

constexpr ATOM kFirstClassAtom = 0xC001;
constexpr RECT kDefaultPlace = {0, 0, 640, 480};

struct WindowClass {
    std::u16string name;
    WNDPROC procedure;
};

struct OwnWindows {
    std::mutex threads;
    // Keyed by upper-case name.
    std::map<std::u16string, WindowClass> classes = {
        {u"BUTTON", {u"Button", ButtonProcedure}},
        {u"EDIT", {u"Edit", EditProcedure}},
        {u"STATIC", {u"Static", StaticProcedure}},
        {u"#32770", {u"#32770", DialogProcedure}},
    };
    // Only a window's own thread destroys it, so a pointer that the thread has found stays valid.
    std::map<HWND, OwnWindow> windows;
};

OwnWindows& TheOwnWindows() {
    static auto* own = [] {
        OnEnter([] { TheOwnWindows().windows.clear(); });
        return new OwnWindows;
    }();
    return *own;
}

const WindowClass* FindClass(LPCWSTR name) {
    OwnWindows& own = TheOwnWindows();
    const std::lock_guard lock(own.threads);
    const auto found = own.classes.find(Upper(name));
    if (found != own.classes.end()) return &found->second;
    SetLastError(ERROR_CANNOT_FIND_WND_CLASS);
    return nullptr;
}

void Remove(HWND window) {
    DropMessagesOf(window);
    {
        WindowTable table;
        if (WindowRecord* const record = table.Find(window)) table.Remove(*record);
    }
    OwnWindows& own = TheOwnWindows();
    std::unique_lock lock(own.threads);
    own.windows.erase(window);
    const auto isOwn = [](const auto& entry) { return entry.second.thread == GetCurrentThreadId(); };
    const bool last = std::none_of(own.windows.begin(), own.windows.end(), isOwn);
    lock.unlock();
    if (last) CloseInbox();
}

// When a thread ends, its windows are removed. Their procedures get no message.
struct ThreadEnd {
    ~ThreadEnd() {
        std::vector<HWND> windows;
        {
            OwnWindows& own = TheOwnWindows();
            const std::lock_guard lock(own.threads);
            for (const auto& [window, entry] : own.windows)
                if (entry.thread == GetCurrentThreadId()) windows.push_back(window);
        }
        for (const HWND window : windows)
            Remove(window);
    }
};

HWND Add(const WindowRecord& window, WNDPROC procedure) {
    WindowTable table;
    const WindowRecord* const added = table.Add(window);
    if (!added) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    OpenInbox(*added);
    // The windows of the process's first thread are removed with the process, after the program's own code has run.
    if (added->thread != added->process) {
        thread_local const ThreadEnd end;
        (void)end;
    }
    OwnWindows& own = TheOwnWindows();
    const std::lock_guard lock(own.threads);
    own.windows[added->handle] = {procedure, added->thread, 0, nullptr};
    return added->handle;
}

// Adds the styles that Windows adds to those that a program asks for.
void CompleteStyles(WindowRecord& window) {
    if (!window.isChild()) {
        window.style |= WS_CLIPSIBLINGS;
        if (!(window.style & WS_POPUP)) window.style |= WS_CAPTION;
    }
    const bool framed = window.style & (WS_DLGFRAME | WS_THICKFRAME);
    const bool edged =
        (window.exStyle & WS_EX_DLGMODALFRAME) || (framed && !(window.exStyle & WS_EX_STATICEDGE));
    window.exStyle = edged ? window.exStyle | WS_EX_WINDOWEDGE : window.exStyle & ~WS_EX_WINDOWEDGE;
}

RECT RectOf(const CREATESTRUCTW& wanted) {
    if (wanted.cx == CW_USEDEFAULT) return kDefaultPlace;
    if (wanted.x == CW_USEDEFAULT) return {0, 0, wanted.cx, wanted.cy};
    return {wanted.x, wanted.y, wanted.x + wanted.cx, wanted.y + wanted.cy};
}

// Sets the parent or the owner of the new window. Returns false,
// with the last error set, when that window doesn't exist.
bool Relate(WindowRecord& record, const CREATESTRUCTW& wanted) {
    if (!record.isChild()) {
        record.owner = wanted.hwndParent ? RootOf(wanted.hwndParent) : nullptr;
        return !wanted.hwndParent || record.owner;
    }
    if (!wanted.hwndParent) {
        SetLastError(ERROR_TLW_WITH_WSCHILD);
        return false;
    }
    if (!Look(wanted.hwndParent)) return false;
    if (!FindOwnWindow(wanted.hwndParent))
        NotModelled("CreateWindowExW", "a child of another thread's window");
    record.parent = wanted.hwndParent;
    record.id = static_cast<int>(reinterpret_cast<INT_PTR>(wanted.hMenu));
    return true;
}

void SendDestroy(HWND window) {
    (void)CallProcedure(window, WM_DESTROY, 0, 0);
    for (const HWND child : ChildWindows(window))
        SendDestroy(child);
}

void Free(HWND window) {
    for (const HWND child : ChildWindows(window))
        Free(child);
    (void)CallProcedure(window, WM_NCDESTROY, 0, 0);
    if (FindOwnWindow(window)) Remove(window);
}

std::vector<HWND> OwnedBy(HWND owner) {
    WindowTable table;
    std::vector<HWND> owned;
    for (const WindowRecord* window : table.Where([owner](const WindowRecord& window) {
             return window.owner == owner && window.thread == GetCurrentThreadId();
         }))
        owned.push_back(window->handle);
    return owned;
}

}  // namespace

OwnWindow* FindOfProcess(HWND window) {
    OwnWindows& own = TheOwnWindows();
    const std::lock_guard lock(own.threads);
    const auto found = own.windows.find(window);
    return found != own.windows.end() ? &found->second : nullptr;
}

OwnWindow* FindOwnWindow(HWND window) {
    OwnWindows& own = TheOwnWindows();
    const std::lock_guard lock(own.threads);
    const auto found = own.windows.find(window);
    return found != own.windows.end() && found->second.thread == GetCurrentThreadId() ? &found->second
                                                                                      : nullptr;
}

LRESULT CallProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    const OwnWindow* const own = FindOwnWindow(window);
    return own ? own->procedure(window, message, wParam, lParam) : 0;
}

HWND Create(const CREATESTRUCTW& wanted) {
    const WindowClass* const kind = FindClass(wanted.lpszClass);
    if (!kind) return nullptr;
    WindowRecord record = {};
    record.style = static_cast<DWORD>(wanted.style) & ~WS_VISIBLE;
    record.exStyle = wanted.dwExStyle;
    record.rect = RectOf(wanted);
    if (!Relate(record, wanted)) return nullptr;
    CompleteStyles(record);
    (void)kind->name.copy(record.kind, kClassUnits - 1);

    const HWND window = Add(record, kind->procedure);
    if (!window) return nullptr;
    CREATESTRUCTW creation = wanted;
    creation.style = static_cast<LONG>(record.style | (static_cast<DWORD>(wanted.style) & WS_VISIBLE));
    creation.dwExStyle = record.exStyle;
    const auto parameter = reinterpret_cast<LPARAM>(&creation);
    if (!CallProcedure(window, WM_NCCREATE, 0, parameter)) {
        if (FindOwnWindow(window)) Remove(window);
        return nullptr;
    }
    if (CallProcedure(window, WM_CREATE, 0, parameter) == -1 && FindOwnWindow(window)) Destroy(window);
    if (!FindOwnWindow(window)) return nullptr;
    if (static_cast<DWORD>(wanted.style) & WS_VISIBLE) Reveal(window);
    return FindOwnWindow(window) ? window : nullptr;
}

// The procedure may already destroy the window during these messages.
void Destroy(HWND window) {
    Hide(window);
    for (const HWND owned : OwnedBy(window))
        if (FindOwnWindow(owned)) Destroy(owned);
    SendDestroy(window);
    if (FindOwnWindow(window)) Free(window);
}

void NotifyParent(HWND control, int notification) {
    if (const auto record = Look(control))
        (void)Send(record->parent, WM_COMMAND, MAKEWPARAM(record->id, notification),
                   reinterpret_cast<LPARAM>(control));
}

void ChangeStyle(HWND window, DWORD taken, DWORD given) {
    WindowTable table;
    if (WindowRecord* const record = table.Find(window)) record->style = (record->style & ~taken) | given;
}

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
    const std::u16string name = windowClass->lpszClassName;
    if (name.size() >= winhost::kClassUnits) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    winhost::OwnWindows& own = winhost::TheOwnWindows();
    const std::lock_guard lock(own.threads);
    if (!own.classes.try_emplace(winhost::Upper(name), winhost::WindowClass{name, windowClass->lpfnWndProc})
             .second) {
        SetLastError(ERROR_CLASS_ALREADY_EXISTS);
        return 0;
    }
    return static_cast<ATOM>(winhost::kFirstClassAtom + own.classes.size() - 1);
}

HWND CreateWindowExW(DWORD exStyle, LPCWSTR className, LPCWSTR title, DWORD style, int x, int y, int width,
                     int height, HWND parent, HMENU menu, HINSTANCE instance, LPVOID parameter) {
    if (winhost::Fails("CreateWindowExW")) return nullptr;
    if (IS_INTRESOURCE(className) || (menu && !(style & WS_CHILD)) || parent == HWND_MESSAGE)
        winhost::NotModelled("CreateWindowExW", "an atom, a menu or a window for messages only");
    return winhost::Create({parameter, instance, menu, parent, height, width, y, x, static_cast<LONG>(style),
                            title, className, exStyle});
}

BOOL DestroyWindow(HWND window) {
    if (winhost::Fails("DestroyWindow")) return FALSE;
    if (winhost::FindOwnWindow(window)) {
        winhost::Destroy(window);
        return TRUE;
    }
    if (winhost::Look(window)) SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}
