// The embedded machine's table of windows when processes die over it.
#include <filesystem>

#include "support/scratch.h"
#include "window_table.h"

namespace {

class HostWindows : public ScratchTest {};

HWND Make(LPCWSTR title) {
    WNDCLASSEXW frame = {};
    frame.cbSize = sizeof frame;
    frame.lpfnWndProc = DefWindowProcW;
    frame.lpszClassName = TEXT("HostFrame");
    (void)RegisterClassExW(&frame);
    return CreateWindowExW(0, TEXT("HostFrame"), title, WS_VISIBLE, 0, 0, 0, 0, nullptr, nullptr, nullptr,
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
    return table.All().size();
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
    EXPECT_EQ(RunChild("MakesWindowsUntilItDies", kScratch + TEXT("\\child.exe"), TEXT("once")).exitCode, 0u);
    EXPECT_EQ(CountWindows(), 1u);
    EXPECT_EQ(CountQueues(), 1u);
    EXPECT_TRUE(DestroyWindow(own));
    EXPECT_EQ(CountQueues(), 0u);
}

TEST_F(HostWindows, AreAsManyAsTheTableHolds) {
    std::vector<HWND> windows;
    while (const HWND window = Make(TEXT("One of many")))
        windows.push_back(window);
    EXPECT_EQ(windows.size(), winhost::kMostWindows);
    EXPECT_TRUE(DestroyWindow(windows[7]));
    const HWND late = Make(TEXT("In its place"));
    EXPECT_TRUE(late);
    EXPECT_NE(late, windows[7]) << "an old handle names no new window";
    windows[7] = late;
    for (const HWND window : windows)
        EXPECT_TRUE(DestroyWindow(window));
}

}  // namespace
