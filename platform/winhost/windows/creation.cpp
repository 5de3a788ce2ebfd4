// Makes and destroys windows.
#include "windows/creation.h"

#include <algorithm>

#include "core/faults.h"
#include "core/machine.h"
#include "messages/message_queue.h"
#include "messages/own_windows.h"
#include "messages/window_table.h"
#include "windows/focus.h"
#include "windows/geometry.h"

namespace winhost {

namespace {

constexpr RECT kDefaultPlace = {0, 0, 640, 480};

void Remove(HWND window) {
    DropMessagesOf(window);
    {
        WindowTable table;
        if (WindowRecord* const record = table.Find(window)) table.Remove(*record);
    }
    ForgetOwnWindow(window);
    if (WindowsOfThread().empty()) CloseQueue();
}

// When a thread ends, its windows are removed. Their procedures get no message.
struct ThreadEnd {
    ~ThreadEnd() {
        for (const HWND window : WindowsOfThread())
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
    OpenQueue(*added);
    // The windows of the process's first thread are removed with the process, after the program's own code has run.
    if (added->thread != added->process) {
        thread_local const ThreadEnd end;
        (void)end;
    }
    AddOwnWindow(added->handle, procedure, CarryOut);
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

// The system chooses a size only for windows with a title bar of their own. No size is below zero.
RECT RectOf(const CREATESTRUCTW& wanted) {
    const bool isChosen = !(static_cast<DWORD>(wanted.style) & (WS_CHILD | WS_POPUP));
    if (wanted.cx == CW_USEDEFAULT && isChosen) return kDefaultPlace;
    const bool isSized = wanted.cx != CW_USEDEFAULT;
    const LONG width = std::max(isSized ? wanted.cx : 0, 0), height = std::max(isSized ? wanted.cy : 0, 0);
    if (wanted.x == CW_USEDEFAULT) return {0, 0, width, height};
    return {wanted.x, wanted.y, wanted.x + width, wanted.y + height};
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

// A child tells its parent, and what that lies in, that it is made or destroyed.
void TellParents(HWND window, UINT message) {
    const auto child = Look(window);
    for (auto record = child; record && record->isChild() && !(record->exStyle & WS_EX_NOPARENTNOTIFY);
         record = Look(record->parent))
        (void)CallProcedure(record->parent, WM_PARENTNOTIFY, MAKEWPARAM(message, child->id),
                            reinterpret_cast<LPARAM>(window));
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

HWND Create(const WindowClass& kind, const CREATESTRUCTW& wanted) {
    WindowRecord record = {};
    record.style = static_cast<DWORD>(wanted.style) & ~WS_VISIBLE;
    record.exStyle = wanted.dwExStyle;
    record.rect = RectOf(wanted);
    if (!Relate(record, wanted)) return nullptr;
    CompleteStyles(record);
    (void)kind.name.copy(record.kind, kClassUnits - 1);

    const HWND window = Add(record, kind.procedure);
    if (!window) return nullptr;
    CREATESTRUCTW creation = wanted;
    creation.style = static_cast<LONG>(record.style | (static_cast<DWORD>(wanted.style) & WS_VISIBLE));
    creation.dwExStyle = record.exStyle;
    const auto parameter = reinterpret_cast<LPARAM>(&creation);
    if (!CallProcedure(window, WM_NCCREATE, 0, parameter)) {
        if (FindOwnWindow(window)) Free(window);
        return nullptr;
    }
    RECT place = record.rect;
    (void)CallProcedure(window, WM_NCCALCSIZE, FALSE, reinterpret_cast<LPARAM>(&place));
    if (CallProcedure(window, WM_CREATE, 0, parameter) == -1 && FindOwnWindow(window)) Destroy(window);
    if (!FindOwnWindow(window)) return nullptr;
    // Other windows are told when they are shown.
    if (record.style & (WS_CHILD | WS_POPUP)) TellFirstPlace(window);
    TellParents(window, WM_CREATE);
    if (static_cast<DWORD>(wanted.style) & WS_VISIBLE) Reveal(window);
    return FindOwnWindow(window) ? window : nullptr;
}

// The procedure may already destroy the window during these messages.
void Destroy(HWND window) {
    TellParents(window, WM_DESTROY);
    // Only a child is told that it is hidden.
    if (HasStyle(window, WS_CHILD) && HasStyle(window, WS_VISIBLE))
        (void)CallProcedure(window, WM_SHOWWINDOW, FALSE, 0);
    Hide(window);
    for (const HWND owned : OwnedBy(window))
        if (FindOwnWindow(owned)) Destroy(owned);
    SendDestroy(window);
    if (FindOwnWindow(window)) Free(window);
}

}  // namespace winhost

BOOL DestroyWindow(HWND window) {
    if (winhost::Fails("DestroyWindow")) return FALSE;
    if (winhost::FindOwnWindow(window)) {
        winhost::Destroy(window);
        return TRUE;
    }
    if (winhost::Look(window)) SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}
