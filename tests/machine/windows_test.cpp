// Top-level windows and their messages, as the program relies on them.
#include <future>
#include <thread>

#include "harness/driver.h"
#include "machine/answers.h"

namespace {

constexpr WCHAR kFrameClass[] = TEXT("MachineTestFrame");

HWND MakeFrame(LPCWSTR title, DWORD style = WS_OVERLAPPEDWINDOW, HWND owner = nullptr) {
    return NewWindow(WindowClass(kFrameClass), style, title, owner);
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
    static const auto names = NamesIn(
        "1 create 2 destroy 3 move 5 size 6 activate 7 setfocus 8 killfocus 10 enable 16 close 24 showwindow "
        "31 cancelmode 129 nccreate 130 ncdestroy 131 nccalcsize 134 ncactivate 528 parentnotify");
    // Whether a minimized window gets the focus isn't compared.
    const bool isMinimized = (GetWindowLongW(window, GWL_STYLE) & WS_MINIMIZE) != 0;
    if (names.contains(message) && !(isMinimized && (message == WM_SETFOCUS || message == WM_KILLFOCUS)))
        told += (told.empty() ? "" : " ") + names.at(message) +
                (message == WM_ACTIVATE && HIWORD(wParam) ? "-minimized" : "");
    if (message == WM_NCCREATE && reinterpret_cast<const CREATESTRUCTW*>(lParam)->lpCreateParams)
        return FALSE;
    return message == WM_CLOSE ? 0 : DefWindowProcW(window, message, wParam, lParam);
}

void RunUntilAsked() {
    MSG message = {};
    while (GetMessageW(&message, nullptr, 0, 0) && message.message != WM_APP)
        (void)DispatchMessageW(&message);
}

TEST_F(Windows, GetMessagesInTheOrderOfWindows) {
    const LPCWSTR listener = WindowClass(TEXT("MachineTestListener"), Listen);
    const auto make = [&](DWORD style, HWND parent = nullptr, void* refuses = nullptr) {
        return NewWindow(listener, style, TEXT("x"), parent, 200, refuses);
    };
    HWND frame = nullptr, child = nullptr, over = nullptr, small = nullptr;
    const HWND asked = MakeFrame(TEXT("Asked"));
    std::promise<HWND> made;
    std::jthread another([&] {
        made.set_value(MakeFrame(TEXT("Another"), WS_POPUP));
        RunUntilAsked();
    });
    const HWND others = made.get_future().get();
    const auto forward = [&] { (void)SetForegroundWindow(others); };
    const auto elsewhere = [](const auto& act) { std::thread(act).join(); };
    const auto behind = [&] { Await("the other's turn", [&] { return GetForegroundWindow() == others; }); };
    const auto show = [](HWND& window, int how) { return [&window, how] { (void)ShowWindow(window, how); }; };
    const auto destroy = [](HWND& window) { return [&window] { (void)DestroyWindow(window); }; };
    const auto enable = [&](BOOL on) { return [&child, on] { (void)EnableWindow(child, on); }; };
    const auto send = [](HWND& window, UINT message, WPARAM wParam, LPARAM lParam) {
        return [=, &window] { (void)SendMessageW(window, message, wParam, lParam); };
    };
    const auto place = [&](int x, int width, UINT flags) {
        return [=, &child] {
            (void)SetWindowPos(child, nullptr, x, 10, width, 50, flags | SWP_NOZORDER | SWP_NOACTIVATE);
        };
    };
    const struct {
        const char* what;
        std::function<void()> act;
        const char* windows;
        bool isOwn = false;  // only the windows' own thread can do it
    } rows[] = {
        {"make a top-level window", [&] { frame = make(WS_OVERLAPPEDWINDOW, nullptr); },
         "nccreate nccalcsize create", true},
        {"make a child", [&] { child = make(WS_CHILD | WS_VISIBLE, frame); },
         "nccreate nccalcsize create size move parentnotify showwindow", true},
        {"show it", show(frame, SW_SHOW), "showwindow ncactivate activate setfocus size move"},
        {"show it again", show(frame, SW_SHOW), ""},
        {"show it below another", [&] { over = MakeFrame(TEXT("Over"), WS_POPUP | WS_VISIBLE); },
         "ncactivate activate killfocus", true},
        {"show it again there", show(frame, SW_SHOW), ""},
        {"show what lies over it no more", destroy(over), "ncactivate activate setfocus", true},
        {"bring another thread's window forward", forward, "ncactivate activate killfocus"},
        {"say that it becomes inactive by being minimized",
         send(frame, WM_ACTIVATE, MAKEWPARAM(WA_INACTIVE, 1), 0), "activate-minimized"},
        {"bring it forward", [&] { (void)SetForegroundWindow(frame); }, "ncactivate activate setfocus"},
        {"and again before it is told",
         [&] { elsewhere([&] { forward(), (void)SetForegroundWindow(frame); }); }, "", true},
        {"hide it behind the other", [&] { elsewhere(forward), (void)ShowWindow(frame, SW_HIDE), behind(); },
         "showwindow ncactivate activate killfocus", true},
        {"focus it there", [&] { (void)SetFocus(frame), behind(); }, "ncactivate activate setfocus", true},
        {"show it there", show(frame, SW_SHOW), "showwindow"},
        {"make a minimized one",
         [&] { small = make(WS_OVERLAPPEDWINDOW | WS_VISIBLE | WS_MINIMIZE), forward(); }, nullptr, true},
        {"show it as it is", show(small, SW_SHOW), ""},
        {"bring that forward", [&] { (void)SetForegroundWindow(small); }, "ncactivate activate-minimized"},
        {"bring the other forward again", forward, "ncactivate activate-minimized"},
        {"restore it", show(small, SW_RESTORE), "nccalcsize ncactivate activate setfocus move size activate"},
        {"destroy it", destroy(small),
         "ncactivate activate ncactivate activate killfocus setfocus destroy ncdestroy", true},
        {"disable the child", enable(FALSE), "cancelmode enable"},
        {"disable it again", enable(FALSE), "cancelmode"},
        {"enable the child", enable(TRUE), "enable"},
        {"move the child", place(20, 200, SWP_NOSIZE), "move", true},
        {"to where it is", place(20, 200, 0), "", true},
        {"move and size it", place(30, 250, 0), "nccalcsize move size", true},
        {"size the child", place(30, 300, 0), "nccalcsize size", true},
        {"hide the child", show(child, SW_HIDE), "showwindow"},
        {"show the child", show(child, SW_SHOW), "showwindow"},
        {"Alt+F4", send(child, WM_SYSKEYDOWN, VK_F4, 0x20000000), "close"},
        {"destroy the child", destroy(child), "parentnotify showwindow destroy ncdestroy", true},
        {"make a child that refuses", [&] { (void)make(WS_CHILD, frame, &frame); }, "nccreate ncdestroy",
         true},
        {"the menu's command", send(frame, WM_SYSCOMMAND, SC_CLOSE, 0), "close"},
        {"destroy it", destroy(frame), "ncactivate activate killfocus destroy ncdestroy", true},
    };
    // The messages are the same whichever thread acts.
    for (const bool isOther : {false, true})
        for (const auto& row : rows) {
            told.clear();
            const auto act = [&] { row.act(), (void)PostMessageW(asked, WM_APP, 0, 0); };
            std::jthread actor;
            if (isOther && !row.isOwn)
                actor = std::jthread(act);
            else
                act();
            RunUntilAsked();
            if (row.windows) {
                EXPECT_EQ(told, row.windows) << row.what << " " << isOther;
            }
        }
    EXPECT_TRUE(PostMessageW(others, WM_APP, 0, 0) && DestroyWindow(asked));
}

// The width of a window that is made in that way, and its size when it is to be below zero.
std::string Sizes(DWORD style, HWND parent, int width) {
    const HWND window = NewWindow(TEXT("STATIC"), style, TEXT(""), parent, width);
    RECT made = {}, sized = {};
    (void)GetWindowRect(window, &made);
    (void)SetWindowPos(window, nullptr, 0, 0, -5, -10, SWP_NOZORDER | SWP_NOACTIVATE | SWP_NOMOVE);
    (void)GetWindowRect(window, &sized);
    (void)DestroyWindow(window);
    return std::to_string(made.right - made.left) + " " + std::to_string(sized.right - sized.left) + "x" +
           std::to_string(sized.bottom - sized.top);
}

TEST_F(Windows, AnswerAsWindowsDoes) {
    const HWND frame = MakeFrame(TEXT("Frame"));
    const auto post = [&](UINT message, LPCWSTR text) {
        return Told(PostMessageW(frame, message, 0, reinterpret_cast<LPARAM>(text)));
    };
    const auto peek = [](UINT first, UINT last) {
        MSG message = {nullptr, WM_NULL, 0, 0, 0, {}};
        (void)PeekMessageW(&message, nullptr, first, last, PM_REMOVE);
        return std::to_string(message.message);
    };
    const auto character = [&](WPARAM key) {
        const MSG stroke = {frame, WM_KEYDOWN, key, 0, 0, {}};
        HoldKeys(false, true);
        EXPECT_TRUE(TranslateMessage(&stroke));
        HoldKeys(false, false);
        return peek(WM_CHAR, WM_CHAR);
    };
    PostQuitMessage(3);
    ExpectAnswers({
        {"the end of the thread among keys", peek(WM_KEYFIRST, WM_KEYLAST), std::to_string(WM_QUIT)},
        {"the end of the thread once more", peek(WM_KEYFIRST, WM_KEYLAST), "0"},
        {"post a text", post(WM_SETTEXT, TEXT("x")), "1159"},
        {"post a text to put in", post(EM_REPLACESEL, TEXT("x")), "1159"},
        {"post a number", post(WM_APP, nullptr), "ok"},
        {"character of Ctrl+Tab", character(VK_TAB), "0"},
        {"character of Ctrl+Return", character(VK_RETURN), std::to_string(WM_CHAR)},
        {"sizes below zero", Sizes(WS_POPUP, nullptr, -5), "0 0x0"},
        {"sizes below zero of a child", Sizes(WS_CHILD, frame, -5), "0 0x0"},
        {"the system's size for a child", Sizes(WS_CHILD, frame, CW_USEDEFAULT), "0 0x0"},
    });
    EXPECT_TRUE(DestroyWindow(frame));
}

}  // namespace
