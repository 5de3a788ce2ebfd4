// Somebody at the running system who answers message boxes. Windows only.
#pragma once

#include <windows.h>

#include <functional>
#include <thread>

#include "common/text.h"

namespace lab {

struct Box {
    HWND window;
    tools::WideText caption, text;
    int safest;  // the button that changes least: No, else Cancel, else OK
};

inline constexpr int kLeaveOpen = 0;
// All three are called from the thread.
struct Habits {
    std::function<bool(DWORD process)> isOwn;  // only windows of such processes are looked at
    // Returns the button to press, or kLeaveOpen. Such a box is asked about again.
    std::function<int(const Box&)> answer;
    // Called for a process that has shown a page for so long that it waits for a person.
    std::function<void(DWORD process)> leave = {};
};
// Returns the thread; its destructor ends it.
std::jthread StandIn(Habits habits);

}  // namespace lab
