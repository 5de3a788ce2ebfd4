// The table of windows of the embedded machine when processes die while they use it.
#include <filesystem>
#include <functional>

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

TEST_F(HostWindows, AreRemovedWithTheirProcess) {
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

TEST_F(HostWindows, QueueHasOneLimitForAllSenders) {
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

TEST_F(HostWindows, EndTheRunWhereWindowsWouldDoMore) {
    // The child of a death test has no windows but those that it makes.
    const auto own = [] { return Make(TEXT("Own")); };
    std::vector<HWND> edits;
    const auto edit = [&](DWORD style) {
        edits.push_back(CreateWindowExW(0, TEXT("EDIT"), TEXT("a\r\nb"), style, 0, 0, 50, 50, nullptr,
                                        nullptr, nullptr, nullptr));
        return edits.back();
    };
    constexpr UINT kPaint = 0xF;
    constexpr WPARAM kMinimize = 0xF020, kPeriod = 0xBE;
    const auto type = [](HWND window, LPCWSTR text) {
        (void)SendMessageW(window, EM_REPLACESEL, TRUE, reinterpret_cast<LPARAM>(text));
    };
    const auto move = [&](WPARAM key, UINT then, WPARAM value) {
        const HWND lines = edit(ES_MULTILINE);
        (void)SendMessageW(lines, WM_KEYDOWN, key, 0);
        (void)SendMessageW(lines, then, value, 0);
    };
    const std::pair<std::function<void()>, const char*> rows[] = {
        {[&] { (void)SendMessageW(own(), kPaint, 0, 0); }, "message 15"},
        {[&] { (void)SendMessageW(own(), WM_SYSCOMMAND, kMinimize, 0); }, "a window's menu"},
        {[&] {
             const MSG stroke = {own(), WM_KEYDOWN, kPeriod, 0, 0, {}};
             (void)TranslateMessage(&stroke);
         },
         "key 190"},
        {[&] { type(edit(ES_MULTILINE), TEXT("long line")); }, "may not fit"},
        {[&] { type(edit(0), TEXT("long")); }, "may not fit"},
        {[&] { type(edit(ES_MULTILINE), TEXT("\r\n\r\n")); }, "may not fit"},
        {[&] { move(VK_DOWN, WM_KEYDOWN, VK_LEFT); }, "after a move by lines"},
        {[&] { move(VK_END, EM_GETSEL, 0); }, "after a move by lines"},
        {[&] { (void)SendMessageW(edit(ES_AUTOHSCROLL), WM_CHAR, 1, 0); }, "Ctrl.A"},
    };
    for (const auto& [act, says] : rows)
        EXPECT_DEATH(act(), std::string("not modelled: .*") + says) << says;
    type(edit(ES_AUTOHSCROLL), TEXT("a text that is scrolled"));
    type(edit(ES_MULTILINE), TEXT("ab"));
    move(VK_HOME, EM_SETSEL, 0);
    for (const HWND each : edits)
        EXPECT_TRUE(DestroyWindow(each));
}

}  // namespace
