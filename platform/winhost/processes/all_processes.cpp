// What tests and tools do to all processes of the machine but their own.
#include <signal.h>

#include <algorithm>
#include <chrono>
#include <vector>

// The host's header doesn't declare its functions as C functions.
extern "C" {
#include <sys/pidfd.h>
}

#include <winhost.h>

#include "processes/clock.h"
#include "processes/process_table.h"

namespace winhost {

std::vector<DWORD> ProcessIds() {
    std::vector<DWORD> running = OtherIds();
    std::erase_if(running, [](DWORD id) { return !FindProcess(id); });
    return running;
}

bool EndProcesses(DWORD milliseconds) {
    for (const DWORD id : ProcessIds())
        if (const auto files = FindProcess(id))
            (void)pidfd_send_signal(files->process.get(), SIGKILL, nullptr, 0);
    return WaitForProcesses(milliseconds);
}

bool WaitForProcesses(DWORD milliseconds) {
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + std::chrono::milliseconds(milliseconds);
    const auto left = [&]() -> DWORD {
        if (milliseconds == INFINITE) return INFINITE;
        const auto rest = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        return static_cast<DWORD>(std::max<long>(rest, 0));
    };
    const OpenEndedWait wait;
    // A process that ends may have started others after the table was read, so the table is read until it lists none.
    for (;;) {
        const std::vector<DWORD> ids = OtherIds();
        if (ids.empty()) return true;
        for (const DWORD id : ids)
            if (const auto files = FindProcess(id); files && !WaitForEnd(files->process.get(), left()))
                return false;
        const TableLock lock;
        PruneTable();
    }
}

}  // namespace winhost
