#include "harness/driver.h"

#include <shlobj.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <thread>

namespace {

LRESULT Send(HWND window, UINT message, WPARAM wParam = 0, LPARAM lParam = 0) {
    DWORD_PTR result = 0;
    if (!SendMessageTimeoutW(window, message, wParam, lParam, SMTO_NORMAL, tools::kHangMs, &result))
        throw std::runtime_error("message " + std::to_string(message) + ": " +
                                 std::to_string(GetLastError()));
    return static_cast<LRESULT>(result);
}

// Returns a visible dialog of the process. A null title means any title.
HWND FindDialog(DWORD process, LPCWSTR title) {
    for (HWND dialog = nullptr; (dialog = FindWindowExW(nullptr, dialog, TEXT("#32770"), title));) {
        DWORD owner = 0;
        (void)GetWindowThreadProcessId(dialog, &owner);
        if (owner == process && IsWindowVisible(dialog)) return dialog;
    }
    return nullptr;
}

void ExpectCanBePressed(HWND button) {
    if (!IsWindowVisible(button) || !IsWindowEnabled(button))
        throw std::runtime_error("nobody can press " + std::to_string(GetDlgCtrlID(button)));
}

// A window of the thread that runs the dialog for RunDriven. It does what only that thread can do.
HWND servant;
constexpr UINT kServe = WM_APP;
constexpr UINT kCount = WM_APP + 1;
std::atomic<WPARAM> counted;

LRESULT CALLBACK Serve(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == kServe) (*reinterpret_cast<const std::function<void()>*>(lParam))();
    if (message == kCount) counted = wParam;
    return DefWindowProcW(window, message, wParam, lParam);
}

void OnDialogThread(const std::function<void()>& action) {
    (void)Send(servant, kServe, 0, reinterpret_cast<LPARAM>(&action));
}

}  // namespace

Driver::Driver(DWORD process, const Text& title) : m_process(process) {
    ::Await("the dialog " + ::testing::PrintToString(title),
            [&] { return (m_dialog = FindDialog(process, title.c_str())) != nullptr; });
}

void Driver::Press(HWND button) const {
    ExpectCanBePressed(button);
    (void)Send(button, BM_CLICK);
}

Driver Driver::Open(HWND button, const Text& title) const {
    ExpectCanBePressed(button);
    EXPECT_TRUE(PostMessageW(button, BM_CLICK, 0, 0));
    return {m_process, title};
}

void Driver::Browse(HWND button, const std::optional<Text>& folder) const {
    const Driver browser = Open(button, TEXT("Browse For Folder"));
    if (folder && !folder->empty())
        (void)Send(browser.m_dialog, BFFM_SETSELECTIONW, TRUE, reinterpret_cast<LPARAM>(folder->c_str()));
    browser.Press(folder ? IDOK : IDCANCEL);
    Await("the end of the browser", [&] { return !IsWindow(browser.m_dialog); });
}

void Driver::Await(const std::string& what, const std::function<bool()>& condition) const {
    ::Await(what, condition);
    (void)Send(m_dialog, WM_NULL);
}

void Driver::Type(HWND edit, const Text& text) const {
    EXPECT_TRUE(IsWindowVisible(edit) && IsWindowEnabled(edit));
    (void)Send(edit, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text.c_str()));
}

void Driver::Key(UINT message, WPARAM key, bool shift, bool control) const {
    OnDialogThread([&] {
        HoldKeys(shift, control);
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
    // A message may post a second one, and that one a third.
    for (int round = 0; round < 4; ++round) {
        static WPARAM number;
        ++number;
        // Posted again and again, because a message may be lost that arrives while a box is answered.
        ::Await("the dialog's thread", [&] {
            return counted == number || !IsWindow(m_dialog) || !PostMessageW(servant, kCount, number, 0);
        });
    }
}

Text TextOf(HWND window) {
    Text text(static_cast<std::size_t>(Send(window, WM_GETTEXTLENGTH)) + 1, 0);
    text.resize(static_cast<std::size_t>(
        Send(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()))));
    return text;
}

bool IsTicked(HWND button) {
    return Send(button, BM_GETCHECK) == BST_CHECKED;
}

INT_PTR RunDriven(const Text& title, const std::function<INT_PTR()>& dialog,
                  const std::function<void(const Driver&)>& person) {
    const DWORD process = GetCurrentProcessId();
    servant = NewWindow(WindowClass(TEXT("Servant"), Serve), WS_POPUP);
    std::atomic<bool> ended = false;
    std::jthread driving([&] {
        try {
            const Driver driver(process, title);
            person(driver);
            driver.Settle();
            if (!IsWindow(driver.Window())) return;
            ADD_FAILURE() << "the dialog is still open";
        } catch (const std::exception& failure) {
            ADD_FAILURE() << failure.what();
        }
        // The dialog may be waiting for dialogs that it has opened.
        const auto endAll = [&] {
            if (const HWND open = FindDialog(process, nullptr)) (void)EndDialog(open, 0);
            return ended.load();
        };
        if (ComesTrue(endAll)) return;
        std::fputs("the dialog can't be ended\n", stderr);
        std::_Exit(1);
    });
    INT_PTR result = 0;
    try {
        result = dialog();
    } catch (const std::exception& failure) {
        // The driver may wait for an answer of this thread, and then never ends.
        std::fprintf(stderr, "the dialog threw: %s\n", failure.what());
        std::_Exit(1);
    }
    ended = true;
    driving.join();
    (void)DestroyWindow(servant);
    return result;
}
