// What only this process knows about its windows: their classes, their procedures, and the data of these.
#pragma once

#include <windows.h>

#include <memory>
#include <utility>

#include "core/host_io.h"

namespace winhost {

// The data that a procedure of the system stores for a window.
struct ControlState {
    virtual ~ControlState() = default;
};

struct OwnWindow {
    WNDPROC procedure;
    DWORD thread;
    LONG_PTR userData = 0;
    std::unique_ptr<ControlState> state;
};

// FindOfProcess returns a window of this process, FindOwnWindow one of the calling thread. Null for any other window.
OwnWindow* FindOfProcess(HWND window);
OwnWindow* FindOwnWindow(HWND window);
// Returns the data of a window of the calling thread. Null when it has none of that kind.
template <class State>
State* StateOf(HWND window) {
    const OwnWindow* const own = FindOwnWindow(window);
    return own ? dynamic_cast<State*>(own->state.get()) : nullptr;
}

// Makes a window of the calling thread. Returns null, with the last error set, when that fails.
HWND Create(const CREATESTRUCTW& wanted);
// Destroys a window of the calling thread, with its children and the windows that it owns.
void Destroy(HWND window);

// Calls the procedure of a window of the calling thread. Returns 0 for any other window.
LRESULT CallProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
// Sends a message to any window of the machine and returns the answer.
LRESULT Send(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
// Sends a control's notification to its parent as WM_COMMAND.
void NotifyParent(HWND control, int notification);
// Removes the bits `taken` from a window's style and adds the bits `given`.
void ChangeStyle(HWND window, DWORD taken, DWORD given);

}  // namespace winhost
