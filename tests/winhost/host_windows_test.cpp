// The table of windows of the embedded machine when processes die while they use it.
#include <commctrl.h>
#include <shlobj.h>

#include <thread>

#include "harness/driver.h"
#include "messages/window_table.h"
#include <winhost.h>

namespace {

class HostWindows : public ScratchTest {};

HWND Make(LPCWSTR kind = TEXT("STATIC"), DWORD style = WS_VISIBLE, LPCWSTR text = TEXT(""),
          HWND parent = nullptr) {
    return CreateWindowExW(0, kind, text, style, 0, 0, 50, 50, parent, nullptr, nullptr, nullptr);
}

CHILD_PROGRAM(MakesWindowsUntilItDies) {
    while (Make()) {
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
    const HWND own = Make();
    const Text number = winhost::Utf16(std::to_string(reinterpret_cast<ULONG_PTR>(own)));
    MSG message = {};
    for (const DWORD free : {10000u, 1u, 0u}) {
        EXPECT_EQ(RunChild("PostsUntilTheQueueIsFull", kScratch + TEXT("\\child.exe"), number), free);
        EXPECT_FALSE(PostMessageW(own, WM_APP, 0, 0));
        EXPECT_EQ(PeekMessageW(&message, nullptr, 0, 0, free > 1 ? PM_REMOVE : PM_NOREMOVE), TRUE);
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
    // The child of a death test has no windows but those that it makes.
    const auto own = [] { return Make(); };
    std::vector<HWND> edits;
    const auto edit = [&](DWORD style) {
        edits.push_back(Make(TEXT("EDIT"), style, TEXT("a\r\nb")));
        return edits.back();
    };
    const auto elsewhere = [&](void (*act)(HWND)) { std::thread(act, own()).join(); };
    const auto enroll = [](LPCWSTR name, UINT style) {
        WNDCLASSEXW kind = {sizeof kind, style,   DefWindowProcW, 0,       0,    nullptr,
                            nullptr,     nullptr, nullptr,        nullptr, name, nullptr};
        return RegisterClassExW(&kind);
    };
    const HWND kEveryWindow = reinterpret_cast<HWND>(ULONG_PTR{0xFFFF});
    const HMODULE other = GetModuleHandleW(TEXT("user32"));
    WCHAR text[9] = {};
    constexpr UINT kSetShield = 0x160C, kSetCue = 0x1501, kNoClose = 0x200;
    constexpr WPARAM kAlt = 0x12, kMenuKey = 0x5D;
    constexpr int kMinimized = 6;
    const auto press = [&](WPARAM key, BYTE shiftAndControl) {
        BYTE keys[256] = {};
        keys[VK_SHIFT] = keys[VK_CONTROL] = shiftAndControl;
        const MSG stroke = {own(), WM_KEYDOWN, key, 0, 0, {}};
        (void)(SetKeyboardState(keys) && TranslateMessage(&stroke));
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
        {[&] { press(kPeriod, 0); }, "key 190"},
        {[&] { type(edit(ES_MULTILINE), TEXT("long line")); }, "may not fit"},
        {[&] { type(edit(0), TEXT("long")); }, "may not fit"},
        {[&] { type(edit(ES_MULTILINE), TEXT("\r\n\r\n")); }, "may not fit"},
        {[&] { move(VK_DOWN, WM_KEYDOWN, VK_LEFT); }, "after a move by lines"},
        {[&] { move(VK_END, EM_GETSEL, 0); }, "after a move by lines"},
        {[&] { (void)SendMessageW(edit(ES_AUTOHSCROLL), WM_CHAR, 1, 0); }, "Ctrl.A"},
        {[&] {
             const HWND line = Make(TEXT("EDIT"), WS_CHILD | ES_AUTOHSCROLL, TEXT(""), own());
             MSG stroke = {line, WM_KEYDOWN, VK_RETURN, 0, 0, {}};
             for (const UINT each : {WM_GETDLGCODE, WM_KEYDOWN})
                 (void)SendMessageW(line, each, VK_RETURN, reinterpret_cast<LPARAM>(&stroke));
         },
         "past its dialog"},
        {[&] { (void)PostMessageW(kEveryWindow, WM_APP, 0, 0); }, "every window"},
        {[&] { (void)SendMessageW(kEveryWindow, WM_APP, 0, 0); }, "every window"},
        {[&] { (void)FindWindowExW(HWND_MESSAGE, nullptr, nullptr, nullptr); }, "for messages only"},
        {[&] { (void)SendMessageW(own(), WM_SYSCHAR, ' ', 0); }, "a window's menu"},
        {[&] { (void)SendMessageW(own(), WM_SYSKEYUP, kAlt, 0); }, "a window's menu"},
        {[&] { (void)SendMessageW(own(), WM_KEYUP, kMenuKey, 0); }, "a window's menu"},
        {[&] { (void)ShowWindow(own(), kMinimized); }, "command 6"},
        {[&] { (void)ShowWindow(Make(TEXT("STATIC"), WS_MINIMIZE), SW_RESTORE); }, "a hidden one"},
        {[&] { elsewhere([](HWND window) { (void)SetWindowPos(window, nullptr, 0, 0, 9, 9, 0); }); },
         "a window of another"},
        {[&] { elsewhere([](HWND window) { (void)EnableWindow(window, FALSE); }); }, "the focus of another"},
        {[&] { (void)SendMessageW(Make(TEXT("BUTTON"), BS_AUTOCHECKBOX), WM_CHAR, '+', 0); }, "check box"},
        {[&] { (void)SendMessageW(Make(TEXT("BUTTON"), 0), kSetShield, 0, 0); }, "message 5644"},
        {[&] { (void)SendMessageW(edit(0), kSetCue, 0, 0); }, "message 5377"},
        {[&] { (void)SendMessageW(Make(TEXT("msctls_progress32"), 0), PBM_SETPOS, WPARAM(-1), 0); }, "share"},
        {[&] { (void)Make(TEXT("listbox"), 0); }, "the class listbox"},
        {[&] { (void)Make(TEXT("SysListView32"), 0); }, "the class SysListView32"},
        {[&] { (void)enroll(TEXT("Button"), 0); }, "a class of the system"},
        {[&] { (void)enroll(TEXT("NoClose"), kNoClose); }, "style 512"},
        {[&] { (void)MessageBoxW(nullptr, TEXT(""), TEXT(""), MB_OK | MB_DEFBUTTON2); }, "style 256"},
        {[&] { (void)LoadStringW(other, 1, text, 9); }, "another module"},
        {[&] { (void)CreateDialogParamW(other, text, nullptr, nullptr, 0); }, "another module"},
        {[&] { press('6', 0x80); }, "key 54"},
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
