#include "windows/focus.h"

#include <utility>

#include "core/faults.h"
#include "core/machine.h"
#include "messages/own_windows.h"
#include "messages/sent_messages.h"
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

// Puts the window above all others. Its owners remember it as their last active popup. Returns the window that was there.
HWND PutOnTop(HWND window) {
    WindowTable table;
    const HWND before = std::exchange(table.foreground(), window);
    WindowRecord* record = window ? table.Find(window) : nullptr;
    if (record) table.Raise(*record);
    while (record && record->owner) {
        record = table.Find(record->owner);
        if (record) record->lastPopup = window;
    }
    return before;
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

WPARAM Activation(HWND window, WORD state) {
    return MAKEWPARAM(state, HasStyle(window, WS_MINIMIZE));
}

// Makes a window of the calling thread its active one, or none for null.
void MakeActive(HWND window) {
    const DWORD thread = GetCurrentThreadId();
    const HWND before = Mark(thread, &WindowRecord::active, window);
    if (before == window) return;
    if (before) (void)CallProcedure(before, WM_NCACTIVATE, FALSE, 0);
    if (before)
        (void)CallProcedure(before, WM_ACTIVATE, Activation(before, WA_INACTIVE),
                            reinterpret_cast<LPARAM>(window));
    if (window) (void)CallProcedure(window, WM_NCACTIVATE, TRUE, 0);
    if (window)
        (void)CallProcedure(window, WM_ACTIVATE, Activation(window, WA_ACTIVE),
                            reinterpret_cast<LPARAM>(before));
    // A window procedure may have made another window active.
    if (MarkedOf(thread, &WindowRecord::active) != window) return;
    if (const HWND focus = Focus(); !window || !focus || !LiesIn(focus, window)) (void)GiveFocus(window);
}

HWND Foreground() {
    WindowTable table;
    const HWND window = table.foreground();
    return window && table.Find(window) ? window : nullptr;
}

// Makes a window of the calling thread its active one. The thread stays in the background if it is there.
void ActivateHere(HWND window) {
    const HWND foreground = Foreground();
    foreground && !FindOwnWindow(foreground) ? MakeActive(window) : Activate(window);
}

// Gives a minimized window its size again. It is told that it is active even if it was so before.
void Restore(HWND window) {
    const auto record = Look(window);
    if (!record || record->isChild() || !(record->style & WS_VISIBLE) || (record->style & WS_MAXIMIZE))
        NotModelled("ShowWindow", "what a maximized window, a hidden one or a child is told");
    ChangeStyle(window, WS_MINIMIZE, 0);
    AskClientArea(window, record->rect);
    Activate(window);
    TellMove(window);
    TellSize(window);
    (void)CallProcedure(window, WM_ACTIVATE, WA_ACTIVE, 0);
}

void Show(HWND window, int command) {
    if (command == SW_HIDE) {
        if (HasStyle(window, WS_VISIBLE)) (void)CallProcedure(window, WM_SHOWWINDOW, FALSE, 0);
        Hide(window);
    } else if (command != SW_SHOW && HasStyle(window, WS_MINIMIZE | WS_MAXIMIZE)) {
        Restore(window);
    } else if (command != SW_SHOW || !HasStyle(window, WS_VISIBLE)) {
        Reveal(window);
    }
}

// What a thread wants of a window of another one.
enum Order : UINT {
    kShow = 1,  // the value is the command
    kActivate,
    kDeactivate,
};

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
    const HWND before = PutOnTop(window);
    const bool isOwn = !window || FindOwnWindow(window);
    if (before && !FindOwnWindow(before))
        PostOrder(before, kDeactivate, 0);
    else if (!isOwn)
        MakeActive(nullptr);
    isOwn ? MakeActive(window) : PostOrder(window, kActivate, 0);
}

LRESULT CarryOut(HWND window, UINT order, WPARAM value) {
    if (order == kShow)
        Show(window, static_cast<int>(value));
    else if (order == kActivate)
        MakeActive(window);
    else if (Foreground() != window)  // It may be so again by now.
        MakeActive(nullptr);
    return 0;
}

bool GiveFocus(HWND window) {
    if (window) {
        if (!TakesInput(window)) return false;
        const HWND root = RootOf(window);
        if (MarkedOf(GetCurrentThreadId(), &WindowRecord::active) != root) ActivateHere(root);
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
    if (const auto record = Look(window); record && record->focused && !enable && !FindOwnWindow(window))
        NotModelled("EnableWindow", "the focus of another thread");
    if (!enable) (void)Send(window, WM_CANCELMODE, 0, 0);
    if (enable == !HasStyle(window, WS_DISABLED)) return;
    ChangeStyle(window, enable ? WS_DISABLED : 0, enable ? 0 : WS_DISABLED);
    if (!enable && Focus() == window) (void)GiveFocus(nullptr);
    (void)Send(window, WM_ENABLE, enable, 0);
}

void Hide(HWND window) {
    const auto record = Look(window);
    if (!record || !(record->style & WS_VISIBLE)) return;
    ChangeStyle(window, WS_VISIBLE, 0);
    if (record->isChild()) {
        if (const HWND focus = Focus(); focus && LiesIn(focus, window) && !GiveFocus(record->parent))
            (void)GiveFocus(nullptr);
    } else {
        Leave(window);
    }
}

void Leave(HWND window) {
    if (const auto record = Look(window); record && record->active) ActivateHere(Successor(window));
}

}  // namespace winhost

BOOL ShowWindow(HWND window, int command) {
    if (winhost::Fails("ShowWindow")) return FALSE;
    const auto record = winhost::Look(window);
    if (!record) return FALSE;
    if (command != SW_HIDE && command != SW_SHOWNORMAL && command != SW_RESTORE && command != SW_SHOW)
        winhost::NotModelled("ShowWindow", "command " + std::to_string(command));
    if (winhost::FindOwnWindow(window))
        winhost::Show(window, command);
    else
        (void)winhost::SendOrder(window, winhost::kShow, static_cast<WPARAM>(command));
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
    return winhost::Foreground();
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
