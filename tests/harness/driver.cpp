#include "harness/driver.h"

#include <shlobj.h>

#include <atomic>
#include <thread>

namespace {

constexpr DWORD kPause = 5;
constexpr DWORD kPatience = 20000;
constexpr DWORD kFarewell = 2000;
constexpr WCHAR kDialogClass[] = TEXT("#32770");

LRESULT Send(HWND window, UINT message, WPARAM wParam = 0, LPARAM lParam = 0) {
    DWORD_PTR result = 0;
    EXPECT_TRUE(SendMessageTimeoutW(window, message, wParam, lParam, SMTO_NORMAL, kPatience, &result))
        << "message " << message << ": " << GetLastError();
    return static_cast<LRESULT>(result);
}

bool Await(const std::function<bool()>& condition, DWORD patience = kPatience) {
    for (DWORD waited = 0; waited < patience; waited += kPause) {
        if (condition()) return true;
        Sleep(kPause);
    }
    return false;
}

HWND FindDialog(DWORD process, const Text& title) {
    for (HWND dialog = nullptr; (dialog = FindWindowExW(nullptr, dialog, kDialogClass, title.c_str()));) {
        DWORD owner = 0;
        (void)GetWindowThreadProcessId(dialog, &owner);
        if (owner == process && IsWindowVisible(dialog)) return dialog;
    }
    return nullptr;
}

::testing::AssertionResult CanBePressed(HWND button) {
    if (IsWindowVisible(button) && IsWindowEnabled(button)) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "nobody can press " << GetDlgCtrlID(button);
}

// A window of the thread whose dialog RunDriven shows: it does there what only that thread can do.
HWND servant;
constexpr UINT kServe = WM_APP;
constexpr UINT kCount = WM_APP + 1;
std::atomic<WPARAM> counted;

LRESULT CALLBACK Serve(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == kServe) (*reinterpret_cast<const std::function<void()>*>(lParam))();
    if (message == kCount) counted = wParam;
    return DefWindowProcW(window, message, wParam, lParam);
}

HWND MakeServant() {
    WNDCLASSEXW kind = {};
    kind.cbSize = sizeof kind;
    kind.lpfnWndProc = Serve;
    kind.lpszClassName = TEXT("Servant");
    (void)RegisterClassExW(&kind);
    return CreateWindowExW(0, kind.lpszClassName, TEXT(""), WS_POPUP, 0, 0, 0, 0, nullptr, nullptr, nullptr,
                           nullptr);
}

void OnDialogThread(const std::function<void()>& action) {
    (void)Send(servant, kServe, 0, reinterpret_cast<LPARAM>(&action));
}

}  // namespace

Driver::Driver(DWORD process, const Text& title) : m_process(process) {
    EXPECT_TRUE(::Await([&] { return (m_dialog = FindDialog(process, title)) != nullptr; }))
        << "no such dialog";
}

HWND Driver::Control(int control) const {
    return GetDlgItem(m_dialog, control);
}

HWND Driver::PageControl(int control) const {
    return GetDlgItem(Page(), control);
}

HWND Driver::Page() const {
    return FindWindowExW(m_dialog, nullptr, kDialogClass, nullptr);
}

bool Driver::HasEnded() const {
    return ::Await([&] { return !IsWindow(m_dialog); }, kFarewell);
}

Text Driver::Title() const {
    return TextOf(m_dialog);
}

void Driver::Press(HWND button) const {
    EXPECT_TRUE(CanBePressed(button));
    (void)Send(button, BM_CLICK);
}

Driver Driver::Open(HWND button, const Text& title) const {
    EXPECT_TRUE(CanBePressed(button));
    EXPECT_TRUE(PostMessageW(button, BM_CLICK, 0, 0));
    return {m_process, title};
}

void Driver::Browse(HWND button, const std::optional<Text>& folder) const {
    const Driver browser = Open(button, TEXT("Browse For Folder"));
    if (folder && !folder->empty())
        (void)Send(browser.m_dialog, BFFM_SETSELECTIONW, TRUE, reinterpret_cast<LPARAM>(folder->c_str()));
    browser.Press(folder ? IDOK : IDCANCEL);
    Await([&] { return browser.HasEnded(); });
}

void Driver::Await(const std::function<bool()>& condition) const {
    EXPECT_TRUE(::Await(condition)) << "it never comes";
    (void)Send(m_dialog, WM_NULL);
}

void Driver::Type(HWND edit, const Text& text) const {
    EXPECT_TRUE(IsWindowVisible(edit) && IsWindowEnabled(edit));
    (void)Send(edit, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text.c_str()));
}

void Driver::Key(UINT message, WPARAM key, bool shift) const {
    OnDialogThread([&] {
        BYTE keys[256] = {};
        keys[VK_SHIFT] = shift ? 0x80 : 0;
        EXPECT_TRUE(SetKeyboardState(keys));
        EXPECT_TRUE(PostMessageW(GetFocus(), message, key, 0));
    });
    Settle();
}

int Driver::Focus() const {
    int focus = 0;
    OnDialogThread([&] { focus = GetDlgCtrlID(GetFocus()); });
    return focus;
}

void Driver::Settle() const {
    // A message may post another one, and that a third.
    for (int round = 0; round < 4; ++round) {
        static WPARAM number;
        ++number;
        // Again and again: one that arrives as a box is answered may be lost.
        EXPECT_TRUE(::Await([&] {
            return counted == number || !IsWindow(m_dialog) || !PostMessageW(servant, kCount, number, 0);
        }));
    }
}

void Driver::End() const {
    (void)EndDialog(m_dialog, 0);
}

Text TextOf(HWND window) {
    Text text(static_cast<std::size_t>(Send(window, WM_GETTEXTLENGTH)) + 1, 0);
    text.resize(static_cast<std::size_t>(
        Send(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()))));
    return text;
}

bool IsShown(HWND window) {
    return IsWindowVisible(window);
}

bool IsTicked(HWND button) {
    return Send(button, BM_GETCHECK) == BST_CHECKED;
}

INT_PTR RunDriven(const Text& title, const std::function<INT_PTR()>& dialog,
                  const std::function<void(const Driver&)>& person) {
    const DWORD process = GetCurrentProcessId();
    servant = MakeServant();
    std::jthread driving([&] {
        const Driver driver(process, title);
        person(driver);
        if (driver.HasEnded()) return;
        ADD_FAILURE() << "the dialog is still open";
        driver.End();
    });
    const INT_PTR result = dialog();
    driving.join();
    (void)DestroyWindow(servant);
    return result;
}
