// What only this process knows about its windows: their procedures, and the data of these.
#pragma once

#include <windows.h>

#include <memory>
#include <vector>

namespace winhost {

// The data that a procedure of the system stores for a window.
struct ControlState {
    virtual ~ControlState() = default;
    // Returns the place of the value that the class keeps under an index of its own. Null when there is no such index.
    virtual LONG_PTR* Long(int index);
};

// Carries out what another thread wants of a window of the calling thread.
using OrderProcedure = LRESULT (*)(HWND window, UINT order, WPARAM value);

struct OwnWindow {
    WNDPROC procedure;
    OrderProcedure orders;
    DWORD thread;
    LONG_PTR userData = 0;
    LRESULT font = 0;
    bool isPlaceTold = false;  // it has got WM_SIZE and WM_MOVE
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

// Adds a window of the calling thread. Forgets one that is destroyed.
void AddOwnWindow(HWND window, WNDPROC procedure, OrderProcedure orders);
void ForgetOwnWindow(HWND window);
// Returns the windows of the calling thread.
std::vector<HWND> WindowsOfThread();

// Calls the procedure of a window of the calling thread. Returns 0 for any other window.
LRESULT CallProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

}  // namespace winhost
