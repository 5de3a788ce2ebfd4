// The table of windows of the embedded machine when processes die while they use it.
#include <commctrl.h>
#include <shlobj.h>

#include <thread>

#include "harness/driver.h"
#include "messages/window_table.h"
#include <winhost.h>

namespace {

class HostWindows : public ScratchTest {};

// A death test makes its windows anew, because its child has no others.
HWND Make() {
    return NewWindow(TEXT("STATIC"), WS_VISIBLE);
}

CHILD_PROGRAM(MakesWindowsUntilItDies) {
    while (Make())
        if (__argc > 1) ExitProcess(0);
    return 1;
}

std::size_t CountWindows() {
    winhost::WindowTable table;
    return table.Where([](const auto&) { return true; }).size();
}

auto CountQueues() {
    return std::distance(std::filesystem::directory_iterator(winhost::StateFolder() / "queues"), {});
}

TEST_F(HostWindows, AreRemovedWithTheirProcess) {
    const HWND own = Make();
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
    EXPECT_EQ(CountQueues(), 2);  // a file and a socket
    EXPECT_TRUE(DestroyWindow(own));
    EXPECT_EQ(CountQueues(), 0);
}

CHILD_PROGRAM(PostsUntilTheQueueIsFull) {
    const auto window = reinterpret_cast<HWND>(std::stoull(winhost::Utf8(__wargv[1])));
    int posted = 0;
    while (PostMessageW(window, WM_APP, static_cast<WPARAM>(posted), 0))
        ++posted;
    return GetLastError() == ERROR_NOT_ENOUGH_QUOTA ? posted : -1;
}

TEST_F(HostWindows, QueueHasOneLimitForAllSenders) {
    const HWND own = Make();
    const Text number = winhost::Utf16(std::to_string(reinterpret_cast<ULONG_PTR>(own)));
    MSG message = {};
    for (const DWORD free : {10000u, 1u, 0u}) {
        EXPECT_EQ(RunChild("PostsUntilTheQueueIsFull", kScratch + TEXT("\\child.exe"), number), free);
        EXPECT_FALSE(PostMessageW(own, WM_APP, 0, 0));
        EXPECT_EQ(PeekMessageW(&message, nullptr, 0, 0, free > 1 ? PM_REMOVE : PM_NOREMOVE), TRUE);
        EXPECT_EQ(message.wParam, free > 1 ? 0u : 1u) << "in the order in which they were posted";
    }
    EXPECT_TRUE(DestroyWindow(own));
}

// Makes two folders, and leaves the path of the second one to the test.
int MakeTwoFolders(HWND browser, UINT, LPARAM, LPARAM path) {
    constexpr int kEdit = 0x3745, kMakeFolder = 0x3746;
    for (int i = 0; i < 2; ++i) {
        (void)SendMessageW(browser, BFFM_SETSELECTIONW, TRUE, reinterpret_cast<LPARAM>(kScratch.c_str()));
        (void)SendMessageW(browser, WM_COMMAND, kMakeFolder, 0);
    }
    *reinterpret_cast<Text*>(path) = TextOf(GetDlgItem(browser, kEdit));
    return PostMessageW(browser, WM_COMMAND, IDCANCEL, 0);
}

int SetOkText(HWND browser, UINT, LPARAM, LPARAM) {
    constexpr UINT kSetOkText = WM_USER + 105;
    return static_cast<int>(SendMessageW(browser, kSetOkText, 0, 0));
}

TEST_F(HostWindows, FolderBrowserNamesNewFoldersAsWindowsDoes) {
    constexpr UINT kFlags = BIF_RETURNONLYFSDIRS | BIF_EDITBOX | BIF_VALIDATE | BIF_NEWDIALOGSTYLE;
    Text path;
    BROWSEINFOW browse = {
        nullptr, nullptr, nullptr, TEXT(""), kFlags, MakeTwoFolders, reinterpret_cast<LPARAM>(&path), 0};
    const BoxAnswers answers({});
    EXPECT_EQ(SHBrowseForFolderW(&browse), nullptr);
    EXPECT_EQ(path, kScratch + TEXT("\\New folder (2)"));
    browse.lpfn = SetOkText;
    EXPECT_DEATH((void)SHBrowseForFolderW(&browse), "not modelled: message 1129");
}

TEST_F(HostWindows, EndTheRunWhereWindowsWouldDoMore) {
    std::vector<HWND> edits;
    const auto edit = [&](DWORD style) {
        edits.push_back(NewWindow(TEXT("EDIT"), style, TEXT("a\r\nb")));
        return edits.back();
    };
    const auto elsewhere = [&](void (*act)(HWND)) { std::thread(act, Make()).join(); };
    const auto enroll = [](LPCWSTR name, UINT style) {
        WNDCLASSEXW kind = {sizeof kind, style,   DefWindowProcW, 0,       0,    nullptr,
                            nullptr,     nullptr, nullptr,        nullptr, name, nullptr};
        return RegisterClassExW(&kind);
    };
    const HWND kEveryWindow = reinterpret_cast<HWND>(ULONG_PTR{0xFFFF});
    const HMODULE other = GetModuleHandleW(TEXT("user32"));
    WCHAR text[9] = {};
    constexpr UINT kPaint = 0xF, kSetShield = 0x160C, kSetCue = 0x1501, kNoClose = 0x200;
    constexpr WPARAM kAlt = 0x12, kMenuKey = 0x5D, kMinimize = 0xF020, kPeriod = 0xBE;
    constexpr int kMinimized = 6;
    const auto press = [&](WPARAM key, bool withBoth) {
        const MSG stroke = {Make(), WM_KEYDOWN, key, 0, 0, {}};
        HoldKeys(withBoth, withBoth);
        (void)TranslateMessage(&stroke);
    };
    const auto type = [](HWND window, LPCWSTR text) {
        (void)SendMessageW(window, EM_REPLACESEL, TRUE, reinterpret_cast<LPARAM>(text));
    };
    const auto move = [&](WPARAM key, UINT then, WPARAM value) {
        const HWND lines = edit(ES_MULTILINE);
        (void)SendMessageW(lines, WM_KEYDOWN, key, 0);
        (void)SendMessageW(lines, then, value, 0);
    };
    const std::pair<std::function<void()>, const char*> rows[] = {
        {[&] { (void)SendMessageW(Make(), kPaint, 0, 0); }, "message 15"},
        {[&] { (void)SendMessageW(Make(), WM_SYSCOMMAND, kMinimize, 0); }, "a window's menu"},
        {[&] { press(kPeriod, false); }, "key 190"},
        {[&] { type(edit(ES_MULTILINE), TEXT("long line")); }, "may not fit"},
        {[&] { type(edit(0), TEXT("long")); }, "may not fit"},
        {[&] { type(edit(ES_MULTILINE), TEXT("\r\n\r\n")); }, "may not fit"},
        {[&] { move(VK_DOWN, WM_KEYDOWN, VK_LEFT); }, "after a move by lines"},
        {[&] { move(VK_END, EM_GETSEL, 0); }, "after a move by lines"},
        {[&] { (void)SendMessageW(edit(ES_AUTOHSCROLL), WM_CHAR, 1, 0); }, "Ctrl.A"},
        {[&] {
             const HWND line = NewWindow(TEXT("EDIT"), WS_CHILD | ES_AUTOHSCROLL, TEXT(""), Make());
             MSG stroke = {line, WM_KEYDOWN, VK_RETURN, 0, 0, {}};
             for (const UINT each : {WM_GETDLGCODE, WM_KEYDOWN})
                 (void)SendMessageW(line, each, VK_RETURN, reinterpret_cast<LPARAM>(&stroke));
         },
         "past its dialog"},
        {[&] { (void)PostMessageW(kEveryWindow, WM_APP, 0, 0); }, "every window"},
        {[&] { (void)SendMessageW(kEveryWindow, WM_APP, 0, 0); }, "every window"},
        {[&] { (void)FindWindowExW(HWND_MESSAGE, nullptr, nullptr, nullptr); }, "for messages only"},
        {[&] { (void)SendMessageW(Make(), WM_SYSCHAR, ' ', 0); }, "a window's menu"},
        {[&] { (void)SendMessageW(Make(), WM_SYSKEYUP, kAlt, 0); }, "a window's menu"},
        {[&] { (void)SendMessageW(Make(), WM_KEYUP, kMenuKey, 0); }, "a window's menu"},
        {[&] { (void)ShowWindow(Make(), kMinimized); }, "command 6"},
        {[&] { (void)ShowWindow(NewWindow(TEXT("STATIC"), WS_MINIMIZE), SW_RESTORE); }, "a hidden one"},
        {[&] { elsewhere([](HWND window) { (void)SetWindowPos(window, nullptr, 0, 0, 9, 9, 0); }); },
         "a window of another"},
        {[&] { elsewhere([](HWND window) { (void)EnableWindow(window, FALSE); }); }, "the focus of another"},
        {[&] { (void)SendMessageW(NewWindow(TEXT("BUTTON"), BS_AUTOCHECKBOX), WM_CHAR, '+', 0); },
         "check box"},
        {[&] { (void)SendMessageW(NewWindow(TEXT("BUTTON"), 0), kSetShield, 0, 0); }, "message 5644"},
        {[&] { (void)SendMessageW(edit(0), kSetCue, 0, 0); }, "message 5377"},
        {[&] { (void)SendMessageW(NewWindow(TEXT("msctls_progress32"), 0), PBM_SETPOS, WPARAM(-1), 0); },
         "share"},
        {[&] { (void)NewWindow(TEXT("listbox"), 0); }, "the class listbox"},
        {[&] { (void)NewWindow(TEXT("SysListView32"), 0); }, "the class SysListView32"},
        {[&] { (void)enroll(TEXT("Button"), 0); }, "a class of the system"},
        {[&] { (void)enroll(TEXT("NoClose"), kNoClose); }, "style 512"},
        {[&] { (void)MessageBoxW(nullptr, TEXT(""), TEXT(""), MB_OK | MB_DEFBUTTON2); }, "style 256"},
        {[&] { (void)LoadStringW(other, 1, text, 9); }, "another module"},
        {[&] { (void)CreateDialogParamW(other, text, nullptr, nullptr, 0); }, "another module"},
        {[&] { press('6', true); }, "key 54"},
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
