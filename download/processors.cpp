#include "processors.h"

#include <windows.h>

#include <algorithm>
#include <system_error>
#include <thread>
#include <vector>

namespace download {

namespace {

constexpr std::size_t kMostThreads = 4;

}  // namespace

void OnProcessors(std::size_t jobs, const std::function<void()>& work) {
    std::vector<std::thread> threads;
    SYSTEM_INFO system;
    GetSystemInfo(&system);
    const std::size_t wanted = std::min({kMostThreads, jobs, std::size_t{system.dwNumberOfProcessors}});
    try {
        while (threads.size() + 1 < wanted)
            threads.emplace_back(work);
    } catch (const std::system_error&) {  // this thread does their work
    }
    work();
    for (std::thread& thread : threads)
        thread.join();
}

}  // namespace download
