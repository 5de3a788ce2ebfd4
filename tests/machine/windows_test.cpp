// Top-level windows and messages between processes, as the program relies on them.
#include "support/scratch.h"

#include <thread>

namespace {

constexpr WCHAR kClass[] = TEXT("MachineTestFrame");

HWND Make(LPCWSTR title, DWORD style = WS_OVERLAPPEDWINDOW, HWND owner = nullptr) {
    WNDCLASSEXW frame = {};
    frame.cbSize = sizeof frame;
    frame.lpfnWndProc = DefWindowProcW;
    frame.lpszClassName = kClass;
    (void)RegisterClassExW(&frame);
    return CreateWindowExW(0, kClass, title, style, 0, 0, 200, 100, owner, nullptr, nullptr, nullptr);
}

// The windows of a process, the top one first, without those that the system's own input methods add.
std::vector<HWND> WindowsOf(DWORD process) {
    struct Search {
        DWORD process;
        std::vector<HWND> found;
    } search = {process, {}};
    EXPECT_TRUE(EnumWindows(
        [](HWND window, LPARAM context) -> BOOL {
            auto& wanted = *reinterpret_cast<Search*>(context);
            DWORD owner = 0;
            EXPECT_NE(GetWindowThreadProcessId(window, &owner), 0u);
            WCHAR title[16] = {};
            if (owner == wanted.process && GetWindowTextW(window, title, 16) > 0 &&
                Text(title) != TEXT("Default IME"))
                wanted.found.push_back(window);
            return TRUE;
        },
        reinterpret_cast<LPARAM>(&search)));
    return search.found;
}

class Windows : public ScratchTest {};

TEST_F(Windows, GoWithTheirOwner) {
    const HWND frame = Make(TEXT("Frame"));
    const HWND owned = Make(TEXT("Owned"), WS_POPUP, frame);
    EXPECT_EQ(GetWindow(owned, GW_OWNER), frame);
    EXPECT_EQ(WindowsOf(GetCurrentProcessId()), (std::vector{owned, frame}));
    EXPECT_EQ(SendMessageW(frame, WM_CLOSE, 0, 0), 0);
    EXPECT_TRUE(WindowsOf(GetCurrentProcessId()).empty());
    for (const HWND window : {frame, owned}) {
        EXPECT_FALSE(IsWindow(window));
        EXPECT_FALSE(PostMessageW(window, WM_APP, 0, 0));
        EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_WINDOW_HANDLE});
    }
}

TEST_F(Windows, GetTenThousandMessagesInOrder) {
    const HWND frame = Make(TEXT("Frame"));
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

// Answers the first message with a second one, and ends with what it is told then.
CHILD_PROGRAM(AnswersPosts) {
    const HWND own = Make(TEXT("Child"));
    MSG message = {};
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        if (message.hwnd != own || message.message < WM_APP) continue;
        if (message.message == WM_APP + 1) PostQuitMessage(static_cast<int>(message.lParam));
        if (message.message == WM_APP)
            (void)PostMessageW(reinterpret_cast<HWND>(message.wParam), WM_APP, 0, message.lParam + 1);
    }
    return static_cast<int>(message.wParam);
}

TEST_F(Windows, OfOtherProcessesAreFoundAndPostedTo) {
    const HWND own = Make(TEXT("Own"));
    const RunningProgram child = StartChild("AnswersPosts");
    while (child.Runs() && WindowsOf(child.Id()).empty())
        Sleep(5);
    const std::vector<HWND> found = WindowsOf(child.Id());
    ASSERT_EQ(found.size(), 1u);
    WCHAR title[16] = {};
    EXPECT_EQ(GetWindowTextW(found[0], title, 5), 4);
    EXPECT_EQ(Text(title), TEXT("Chil"));
    EXPECT_FALSE(DestroyWindow(found[0]));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});

    EXPECT_TRUE(PostMessageW(found[0], WM_APP, reinterpret_cast<WPARAM>(own), 0x123456789ALL));
    EXPECT_TRUE(PostMessageW(found[0], WM_APP + 1, 0, 77));
    MSG message = {};
    while (GetMessageW(&message, nullptr, 0, 0) > 0 && message.message != WM_APP)
        DispatchMessageW(&message);
    EXPECT_EQ(message.hwnd, own);
    EXPECT_EQ(message.lParam, 0x123456789BLL);
    EXPECT_EQ(child.ExitCode(), 77u);
    EXPECT_FALSE(IsWindow(found[0])) << "it went with its process";
    EXPECT_TRUE(DestroyWindow(own));
}

}  // namespace
