// The clock: waits of a fixed length, and the time.
#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <ctime>

#include "core/faults.h"
#include "core/machine.h"

namespace {

// The sum of all waits under a virtual clock.
DWORD virtualMilliseconds = 0;

}  // namespace

void Sleep(DWORD milliseconds) {
    if (winhost::Fails("Sleep")) return;
    if (milliseconds == INFINITE) winhost::NotModelled("Sleep", "without an end");
    if (winhost::VirtualClock())
        virtualMilliseconds += milliseconds;
    else
        (void)poll(nullptr, 0, static_cast<int>(std::min(milliseconds, 0x7FFFFFFFu)));
}

DWORD GetTickCount() {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<DWORD>(now.tv_sec * 1000 + now.tv_nsec / 1000000) + virtualMilliseconds;
}

__time64_t _time64(__time64_t* now) {
    (void)winhost::FaultOf("_time64");
    const __time64_t seconds = std::time(nullptr);
    if (now) *now = seconds;
    return seconds;
}

std::tm* _localtime64(const __time64_t* time) {
    if (winhost::Fails("_localtime64")) return nullptr;
    // The runtime library knows the times from 1970 to the end of the year 3000.
    constexpr __time64_t kLastTime = 32535215999;
    if (!time || *time < 0 || *time > kLastTime) {
        errno = EINVAL;
        return nullptr;
    }
    const std::time_t seconds = *time;
    return std::localtime(&seconds);
}
