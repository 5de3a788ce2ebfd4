// Top-level windows and their messages, as the program relies on them.
#include "harness/scratch.h"

#include <thread>

namespace {

constexpr WCHAR kFrameClass[] = TEXT("MachineTestFrame");

HWND MakeFrame(LPCWSTR title, DWORD style = WS_OVERLAPPEDWINDOW, HWND owner = nullptr) {
    WNDCLASSEXW frame = {};
    frame.cbSize = sizeof frame;
    frame.lpfnWndProc = DefWindowProcW;
    frame.lpszClassName = kFrameClass;
    (void)RegisterClassExW(&frame);
    return CreateWindowExW(0, kFrameClass, title, style, 0, 0, 200, 100, owner, nullptr, nullptr, nullptr);
}

class Windows : public ScratchTest {};

TEST_F(Windows, GoWithTheirOwner) {
    const HWND frame = MakeFrame(TEXT("Frame"));
    const HWND owned = MakeFrame(TEXT("Owned"), WS_POPUP, frame);
    EXPECT_EQ(GetWindow(owned, GW_OWNER), frame);
    const auto below = [](HWND window) { return FindWindowExW(nullptr, window, kFrameClass, nullptr); };
    EXPECT_TRUE(below(nullptr) == owned && below(owned) == frame);
    EXPECT_EQ(SendMessageW(frame, WM_CLOSE, 0, 0), 0);
    for (const HWND window : {frame, owned}) {
        EXPECT_FALSE(IsWindow(window));
        EXPECT_FALSE(PostMessageW(window, WM_APP, 0, 0));
        EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_WINDOW_HANDLE});
    }
}

TEST_F(Windows, GetTenThousandMessagesInOrder) {
    const HWND frame = MakeFrame(TEXT("Frame"));
    std::thread([frame] {
        for (WPARAM i = 0; i < 10000; ++i)
            EXPECT_TRUE(PostMessageW(frame, WM_APP, i, 0)) << i;
    }).join();
    MSG message = {};
    for (WPARAM i = 0; i < 10000; ++i)
        ASSERT_TRUE(GetMessageW(&message, nullptr, 0, 0) && message.hwnd == frame && message.wParam == i);
    EXPECT_FALSE(PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
    EXPECT_TRUE(DestroyWindow(frame));
}

}  // namespace
