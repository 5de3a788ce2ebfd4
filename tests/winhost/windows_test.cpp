// The table of windows of the embedded machine when processes die while they use it.
#include <filesystem>

#include "harness/scratch.h"
#include "messages/window_table.h"
#include <winhost.h>

namespace {

class HostWindows : public ScratchTest {};

HWND Make(LPCWSTR title) {
    return CreateWindowExW(0, TEXT("STATIC"), title, WS_VISIBLE, 0, 0, 0, 0, nullptr, nullptr, nullptr,
                           nullptr);
}

CHILD_PROGRAM(MakesWindowsUntilItDies) {
    while (Make(TEXT("Short-lived"))) {
        if (__argc > 1) ExitProcess(0);
    }
    return 1;
}

std::size_t CountWindows() {
    winhost::WindowTable table;
    return table.Where([](const auto&) { return true; }).size();
}

std::size_t CountQueues() {
    namespace fs = std::filesystem;
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator(winhost::StateFolder() / "queues"), {}));
}

TEST_F(HostWindows, GoWithTheirProcessHoweverItEnds) {
    const HWND own = Make(TEXT("Own"));
    for (int round = 0; round < 10; ++round) {
        {
            const RunningProgram child = StartChild("MakesWindowsUntilItDies");
            while (child.Runs() && CountWindows() < 20)
                Sleep(1);
        }
        EXPECT_EQ(CountWindows(), 1u);
    }
    EXPECT_EQ(RunChild("MakesWindowsUntilItDies", kScratch + TEXT("\\child.exe"), TEXT("once")), 0u);
    EXPECT_EQ(CountWindows(), 1u);
    EXPECT_EQ(CountQueues(), 2u);  // a file and a socket
    EXPECT_TRUE(DestroyWindow(own));
    EXPECT_EQ(CountQueues(), 0u);
}

CHILD_PROGRAM(PostsUntilTheQueueIsFull) {
    const auto window = reinterpret_cast<HWND>(std::stoull(winhost::Utf8(__wargv[1])));
    int posted = 0;
    while (PostMessageW(window, WM_APP, 0, 0))
        ++posted;
    return GetLastError() == ERROR_NOT_ENOUGH_QUOTA ? posted : -1;
}

TEST_F(HostWindows, QueueIsFullAtTheSameNumberWhoeverHasTakenIn) {
    const HWND own = Make(TEXT("Own"));
    const Text number = winhost::Utf16(std::to_string(reinterpret_cast<ULONG_PTR>(own)));
    MSG message = {};
    for (const DWORD free : {10000u, 1u, 0u}) {
        EXPECT_EQ(RunChild("PostsUntilTheQueueIsFull", kScratch + TEXT("\\child.exe"), number), free);
        EXPECT_FALSE(PostMessageW(own, WM_APP, 0, 0));
        EXPECT_EQ(PeekMessageW(&message, nullptr, 0, 0, free > 1 ? PM_REMOVE : PM_NOREMOVE), TRUE);
    }
    EXPECT_TRUE(DestroyWindow(own));
}

}  // namespace
