// The clock: waits of a fixed length, and the time.
#include "processes/clock.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>

#include "core/faults.h"
#include "core/machine.h"

namespace winhost {

namespace {

constexpr std::uint64_t kNever = UINT64_MAX;
constexpr DWORD kHostLookMs = 1;  // between two looks at another process, of the host's time

std::uint64_t HostMilliseconds() {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::uint64_t>(now.tv_sec * 1000 + now.tv_nsec / 1000000);
}

// The virtual time of this process.
std::uint64_t& Now() {
    static std::uint64_t now = [] {
        const auto given = RecordedTimes(OwnTable());
        return given ? given->now : HostMilliseconds();
    }();
    return now;
}

// Waits until it is that time for the starter, too. A forked copy has no times of its own to wait with.
void AdvanceTo(std::uint64_t time) {
    if (IsForkedCopy()) {
        Now() = time;
        return;
    }
    RecordTimes(OwnTable(), {time, Now()});
    const ProcessFiles starter = OpenProcessFiles(static_cast<DWORD>(getppid()));
    const auto isThere = [&] {
        const auto times = RecordedTimes(starter.table.get());
        return !starter.process || !times || times->until >= time;
    };
    while (!isThere() && !WaitForEnd(starter.process.get(), kHostLookMs)) {
    }
    Now() = time;
    RecordTimes(OwnTable(), {time, time});
}

}  // namespace

bool WaitInVirtualTime(const ProcessFiles& other, DWORD milliseconds) {
    const std::uint64_t start = Now(), end = milliseconds == INFINITE ? kNever : start + milliseconds;
    RecordTimes(OwnTable(), {start, end});
    bool ended = false;
    std::uint64_t reached = 0;
    while (!ended && reached <= end) {
        ended = WaitForEnd(other.process.get(), kHostLookMs);
        reached = RecordedTimes(other.table.get()).value_or(VirtualTimes()).now;
        if (reached == kNever && (ended || end == kNever)) reached = start;
    }
    AdvanceTo(std::clamp(reached, start, end));
    return ended;
}

OpenEndedWait::OpenEndedWait() {
    if (VirtualClock()) RecordTimes(OwnTable(), {kNever, kNever});
}

OpenEndedWait::~OpenEndedWait() {
    if (VirtualClock()) RecordTimes(OwnTable(), {Now(), Now()});
}

std::optional<VirtualTimes> TimesOfStarted() {
    if (!VirtualClock()) return std::nullopt;
    // From now on, the time of what is started passes with that of this process.
    if (!IsForkedCopy()) RecordTimes(OwnTable(), {Now(), Now()});
    return VirtualTimes{Now(), Now()};
}

}  // namespace winhost

void Sleep(DWORD milliseconds) {
    if (winhost::Fails("Sleep")) return;
    if (milliseconds == INFINITE) winhost::NotModelled("Sleep", "without an end");
    if (winhost::VirtualClock())
        winhost::AdvanceTo(winhost::Now() + milliseconds);
    else
        (void)poll(nullptr, 0, static_cast<int>(std::min(milliseconds, 0x7FFFFFFFu)));
}

DWORD GetTickCount() {
    return static_cast<DWORD>(winhost::VirtualClock() ? winhost::Now() : winhost::HostMilliseconds());
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
