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

TEST_F(Windows, AreDestroyedWithTheirOwner) {
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

std::string told;

LRESULT CALLBACK Listen(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    const std::pair<UINT, const char*> names[] = {{WM_NCCREATE, "nccreate"},
                                                  {WM_NCCALCSIZE, "nccalcsize"},
                                                  {WM_CREATE, "create"},
                                                  {WM_SIZE, "size"},
                                                  {WM_MOVE, "move"},
                                                  {WM_PARENTNOTIFY, "parentnotify"},
                                                  {WM_SHOWWINDOW, "showwindow"},
                                                  {WM_NCACTIVATE, "ncactivate"},
                                                  {WM_ACTIVATE, "activate"},
                                                  {WM_SETFOCUS, "setfocus"},
                                                  {WM_KILLFOCUS, "killfocus"},
                                                  {WM_CANCELMODE, "cancelmode"},
                                                  {WM_ENABLE, "enable"},
                                                  {WM_CLOSE, "close"},
                                                  {WM_DESTROY, "destroy"},
                                                  {WM_NCDESTROY, "ncdestroy"}};
    for (const auto& [number, name] : names)
        if (message == number) told += (told.empty() ? "" : " ") + std::string(name);
    return message == WM_CLOSE ? 0 : DefWindowProcW(window, message, wParam, lParam);
}

TEST_F(Windows, GetMessagesInTheOrderOfWindows) {
    WNDCLASSEXW listener = {};
    listener.cbSize = sizeof listener;
    listener.lpfnWndProc = Listen;
    listener.lpszClassName = TEXT("MachineTestListener");
    (void)RegisterClassExW(&listener);
    const auto make = [&](DWORD style, HWND parent) {
        return CreateWindowExW(0, listener.lpszClassName, TEXT("x"), style, 10, 10, 200, 100, parent, nullptr,
                               nullptr, nullptr);
    };
    HWND frame = nullptr, child = nullptr;
    const auto place = [](HWND window, int x, int width, UINT flags) {
        (void)SetWindowPos(window, nullptr, x, 10, width, 100, flags | SWP_NOZORDER | SWP_NOACTIVATE);
    };
    const struct {
        const char* what;
        std::function<void()> act;
        const char* windows;
    } rows[] = {
        {"make a top-level window", [&] { frame = make(WS_OVERLAPPEDWINDOW, nullptr); },
         "nccreate nccalcsize create"},
        {"make a child", [&] { child = make(WS_CHILD | WS_VISIBLE, frame); },
         "nccreate nccalcsize create size move parentnotify showwindow"},
        {"show it", [&] { (void)ShowWindow(frame, SW_SHOW); },
         "showwindow ncactivate activate setfocus size move"},
        {"show it again", [&] { (void)ShowWindow(frame, SW_SHOW); }, ""},
        {"disable the child", [&] { (void)EnableWindow(child, FALSE); }, "cancelmode enable"},
        {"disable it again", [&] { (void)EnableWindow(child, FALSE); }, "cancelmode"},
        {"enable the child", [&] { (void)EnableWindow(child, TRUE); }, "enable"},
        {"move the child", [&] { place(child, 20, 200, SWP_NOSIZE); }, "move"},
        {"to where it is", [&] { place(child, 20, 200, 0); }, ""},
        {"move and size it", [&] { place(child, 30, 250, 0); }, "nccalcsize move size"},
        {"size the child", [&] { place(child, 30, 300, 0); }, "nccalcsize size"},
        {"hide the child", [&] { (void)ShowWindow(child, SW_HIDE); }, "showwindow"},
        {"Alt+F4", [&] { (void)SendMessageW(child, WM_SYSKEYDOWN, VK_F4, 0x20000000); }, "close"},
        {"destroy the child", [&] { (void)DestroyWindow(child); }, "parentnotify destroy ncdestroy"},
        {"the menu's command", [&] { (void)SendMessageW(frame, WM_SYSCOMMAND, SC_CLOSE, 0); }, "close"},
        {"destroy it", [&] { (void)DestroyWindow(frame); },
         "ncactivate activate killfocus destroy ncdestroy"},
    };
    for (const auto& row : rows) {
        told.clear();
        row.act();
        for (MSG message; PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE);)
            (void)DispatchMessageW(&message);
        EXPECT_EQ(told, row.windows) << row.what;
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
