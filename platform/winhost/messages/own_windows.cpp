// The windows of this process, with their procedures.
#include "messages/own_windows.h"

#include <map>
#include <mutex>

#include "core/machine.h"

namespace winhost {

namespace {

struct OwnWindows {
    std::mutex threads;
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

}  // namespace

LONG_PTR* ControlState::Long(int) {
    return nullptr;
}

void AddOwnWindow(HWND window, WNDPROC procedure, OrderProcedure orders) {
    OwnWindows& own = TheOwnWindows();
    const std::lock_guard lock(own.threads);
    own.windows[window] = {
        .procedure = procedure, .orders = orders, .thread = GetCurrentThreadId(), .state = nullptr};
}

void ForgetOwnWindow(HWND window) {
    OwnWindows& own = TheOwnWindows();
    const std::lock_guard lock(own.threads);
    own.windows.erase(window);
}

std::vector<HWND> WindowsOfThread() {
    OwnWindows& own = TheOwnWindows();
    const std::lock_guard lock(own.threads);
    std::vector<HWND> windows;
    for (const auto& [window, entry] : own.windows)
        if (entry.thread == GetCurrentThreadId()) windows.push_back(window);
    return windows;
}

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

}  // namespace winhost
