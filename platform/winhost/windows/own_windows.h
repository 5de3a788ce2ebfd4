// What only this process knows of its windows: their classes, their procedures and what these keep.
#pragma once

#include <windows.h>

#include <memory>
#include <utility>

#include "core/host_io.h"

namespace winhost {

// What a procedure of the system keeps for a window.
struct ControlState {
    virtual ~ControlState() = default;
};

struct OwnWindow {
    WNDPROC procedure;
    DWORD thread;
    LONG_PTR userData = 0;
    std::unique_ptr<ControlState> state;
};

// A window of this process, and one of the calling thread; null for any other.
OwnWindow* FindOfProcess(HWND window);
OwnWindow* FindOwnWindow(HWND window);
template <class State>
State* StateOf(HWND window) {
    const OwnWindow* const own = FindOwnWindow(window);
    return own ? dynamic_cast<State*>(own->state.get()) : nullptr;
}

// Makes a window of the calling thread; null, with the last error set, when that fails.
HWND Create(const CREATESTRUCTW& wanted);
// Ends a window of the calling thread with its children and what it owns.
void Destroy(HWND window);

// Calls the procedure of the calling thread's own window; 0 for any other.
LRESULT CallProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
// Sends to any window of the machine.
LRESULT Send(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
// Tells a control's parent of something by WM_COMMAND.
void NotifyParent(HWND control, int notification);
// Changes bits of a window's style.
void ChangeStyle(HWND window, DWORD taken, DWORD given);

}  // namespace winhost
