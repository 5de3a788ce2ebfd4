#include "windows/focus.h"

#include "core/faults.h"
#include "core/machine.h"
#include "messages/own_windows.h"
#include "messages/window_table.h"
#include "windows/geometry.h"

namespace winhost {

namespace {

HWND MarkedOf(DWORD thread, bool WindowRecord::*mark) {
    WindowTable table;
    const WindowRecord* const record = table.Marked(thread, mark);
    return record ? record->handle : nullptr;
}

// Moves the mark from the thread's marked window to another. Returns the window that had it.
HWND Mark(DWORD thread, bool WindowRecord::*mark, HWND window) {
    WindowTable table;
    WindowRecord* const before = table.Marked(thread, mark);
    if (before) before->*mark = false;
    if (WindowRecord* const record = window ? table.Find(window) : nullptr) record->*mark = true;
    return before ? before->handle : nullptr;
}

// Puts the window above all others. Its owners remember it as their last active popup.
void PutOnTop(HWND window) {
    WindowTable table;
    table.foreground() = window;
    WindowRecord* record = window ? table.Find(window) : nullptr;
    if (record) table.Raise(*record);
    while (record && record->owner) {
        record = table.Find(record->owner);
        if (record) record->lastPopup = window;
    }
}

// Whether neither the window nor one around it is disabled or minimized.
bool TakesInput(HWND window) {
    WindowTable table;
    for (const WindowRecord* record = table.Find(window); record; record = table.Find(record->parent)) {
        if (record->style & (WS_DISABLED | WS_MINIMIZE)) return false;
        if (!record->parent) return true;
    }
    return false;
}

// Returns the window that becomes active after `window`: its
// owner, or else the top one of the thread's enabled windows.
HWND Successor(HWND window) {
    WindowTable table;
    const auto able = table.Where([window](const WindowRecord& record) {
        return record.handle != window && !record.isChild() && (record.style & WS_VISIBLE) &&
               !(record.style & WS_DISABLED) && record.thread == GetCurrentThreadId();
    });
    const WindowRecord* const gone = table.Find(window);
    for (const WindowRecord* record : able)
        if (gone && record->handle == gone->owner) return record->handle;
    return able.empty() ? nullptr : able.front()->handle;
}

}  // namespace

bool LiesIn(HWND window, HWND other) {
    WindowTable table;
    while (window && window != other) {
        const WindowRecord* const record = table.Find(window);
        window = record ? record->parent : nullptr;
    }
    return window != nullptr;
}

HWND Focus() {
    return MarkedOf(GetCurrentThreadId(), &WindowRecord::focused);
}

void Activate(HWND window) {
    PutOnTop(window);
    const DWORD thread = GetCurrentThreadId();
    if (window && !FindOwnWindow(window)) {
        // The other thread isn't told. It finds its window active.
        if (const auto record = Look(window)) (void)Mark(record->thread, &WindowRecord::active, window);
        return;
    }
    const HWND before = Mark(thread, &WindowRecord::active, window);
    if (before == window) return;
    if (before) (void)CallProcedure(before, WM_NCACTIVATE, FALSE, 0);
    if (before) (void)CallProcedure(before, WM_ACTIVATE, WA_INACTIVE, reinterpret_cast<LPARAM>(window));
    if (window) (void)CallProcedure(window, WM_NCACTIVATE, TRUE, 0);
    if (window) (void)CallProcedure(window, WM_ACTIVATE, WA_ACTIVE, reinterpret_cast<LPARAM>(before));
    // A window procedure may have made another window active.
    if (MarkedOf(thread, &WindowRecord::active) != window) return;
    if (const HWND focus = Focus(); !window || !focus || !LiesIn(focus, window)) (void)GiveFocus(window);
}

bool GiveFocus(HWND window) {
    if (window) {
        if (!TakesInput(window)) return false;
        const HWND root = RootOf(window);
        if (MarkedOf(GetCurrentThreadId(), &WindowRecord::active) != root) Activate(root);
        if (!FindOwnWindow(window)) return false;
    }
    const HWND before = Mark(GetCurrentThreadId(), &WindowRecord::focused, window);
    if (before == window) return true;
    if (before) (void)CallProcedure(before, WM_KILLFOCUS, reinterpret_cast<WPARAM>(window), 0);
    // The window that lost the focus may have given it to another one.
    if (window && Focus() == window)
        (void)CallProcedure(window, WM_SETFOCUS, reinterpret_cast<WPARAM>(before), 0);
    return true;
}

void Reveal(HWND window) {
    if (!HasStyle(window, WS_VISIBLE)) (void)CallProcedure(window, WM_SHOWWINDOW, TRUE, 0);
    ChangeStyle(window, 0, WS_VISIBLE);
    const auto record = Look(window);
    if (record && !record->isChild() && !(record->style & WS_MINIMIZE)) Activate(window);
    TellFirstPlace(window);
}

void Enable(HWND window, bool enable) {
    if (!enable) (void)CallProcedure(window, WM_CANCELMODE, 0, 0);
    if (enable == !HasStyle(window, WS_DISABLED)) return;
    ChangeStyle(window, enable ? WS_DISABLED : 0, enable ? 0 : WS_DISABLED);
    if (!enable && Focus() == window) (void)GiveFocus(nullptr);
    (void)CallProcedure(window, WM_ENABLE, enable, 0);
}

void Hide(HWND window) {
    const auto record = Look(window);
    if (!record || !(record->style & WS_VISIBLE)) return;
    ChangeStyle(window, WS_VISIBLE, 0);
    if (record->thread != GetCurrentThreadId()) return;
    if (record->isChild()) {
        if (const HWND focus = Focus(); focus && LiesIn(focus, window) && !GiveFocus(record->parent))
            (void)GiveFocus(nullptr);
    } else {
        Leave(window);
    }
}

void Leave(HWND window) {
    if (const auto record = Look(window); record && record->active) Activate(Successor(window));
}

}  // namespace winhost

BOOL ShowWindow(HWND window, int command) {
    if (winhost::Fails("ShowWindow")) return FALSE;
    const auto record = winhost::Look(window);
    if (!record) return FALSE;
    switch (command) {
        case SW_HIDE:
            if (record->style & WS_VISIBLE) (void)winhost::CallProcedure(window, WM_SHOWWINDOW, FALSE, 0);
            winhost::Hide(window);
            break;
        case SW_SHOWNORMAL:
        case SW_RESTORE:
            if ((record->style & (WS_MINIMIZE | WS_MAXIMIZE)) && winhost::FindOwnWindow(window))
                winhost::NotModelled("ShowWindow", "what a minimized or maximized window is told");
            winhost::ChangeStyle(window, WS_MINIMIZE | WS_MAXIMIZE, 0);
            winhost::Reveal(window);
            break;
        case SW_SHOW:
            if (!(record->style & WS_VISIBLE)) winhost::Reveal(window);
            break;
        default:
            winhost::NotModelled("ShowWindow", "command " + std::to_string(command));
    }
    return (record->style & WS_VISIBLE) != 0;
}

BOOL EnableWindow(HWND window, BOOL enable) {
    if (winhost::Fails("EnableWindow")) return FALSE;
    const auto record = winhost::Look(window);
    if (!record) return FALSE;
    winhost::Enable(window, enable != FALSE);
    return (record->style & WS_DISABLED) != 0;
}

HWND GetForegroundWindow() {
    if (winhost::Fails("GetForegroundWindow")) return nullptr;
    winhost::WindowTable table;
    const HWND window = table.foreground();
    return window && table.Find(window) ? window : nullptr;
}

BOOL SetForegroundWindow(HWND window) {
    if (winhost::Fails("SetForegroundWindow")) return FALSE;
    const HWND root = winhost::RootOf(window);
    if (root) winhost::Activate(root);
    return root != nullptr;
}

HWND GetActiveWindow() {
    if (winhost::Fails("GetActiveWindow")) return nullptr;
    return winhost::MarkedOf(GetCurrentThreadId(), &winhost::WindowRecord::active);
}

HWND GetLastActivePopup(HWND window) {
    if (winhost::Fails("GetLastActivePopup", ERROR_INVALID_WINDOW_HANDLE)) return nullptr;
    const auto record = winhost::Look(window);
    if (!record) return nullptr;
    return record->lastPopup && winhost::Look(record->lastPopup) ? record->lastPopup : window;
}

HWND GetFocus() {
    if (winhost::Fails("GetFocus")) return nullptr;
    return winhost::Focus();
}

HWND SetFocus(HWND window) {
    if (winhost::Fails("SetFocus")) return nullptr;
    if (window && !winhost::Look(window)) return nullptr;
    if (window && !winhost::FindOwnWindow(window)) {
        SetLastError(ERROR_ACCESS_DENIED);
        return nullptr;
    }
    const HWND before = winhost::Focus();
    return winhost::GiveFocus(window) ? before : nullptr;
}
