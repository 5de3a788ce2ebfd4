// Uses the dialogs of this process, or of a program that a test has started, as a person does: from another thread or
// another process.
#pragma once

#include <functional>

#include "harness/scratch.h"

// An open dialog: the wizard's frame, or a window that it has opened.
class Driver {
  public:
    // Waits for a dialog of the process with that title. Here and below, if what is awaited doesn't come, the test ends
    // with a failure (an exception).
    Driver(DWORD process, const Text& title);

    HWND Window() const { return m_dialog; }
    // Returns the dialog inside this one, if there is one.
    HWND Page() const { return FindWindowExW(m_dialog, nullptr, TEXT("#32770"), nullptr); }
    // Returns a control of the dialog, or of its page.
    HWND Control(int control) const { return GetDlgItem(m_dialog, control); }
    HWND PageControl(int control) const { return GetDlgItem(Page(), control); }
    // Presses a button and waits until the program has handled it. If a person couldn't press the button, the test ends
    // with a failure.
    void Press(HWND button) const;
    void Press(int button) const { Press(Control(button)); }
    void PressInPage(int button) const { Press(PageControl(button)); }
    void PressOk(int times) const {
        for (; times > 0; --times)
            Press(IDOK);
    }
    // Presses a button that opens another dialog with that title, and returns that dialog.
    Driver Open(HWND button, const Text& title) const;
    void Type(HWND edit, const Text& text) const;
    // Presses a button that opens the folder browser, and chooses the folder there. An empty text chooses the folder at
    // which the browser opens. No text cancels the browser.
    void Browse(HWND button, const std::optional<Text>& folder) const;
    // Waits until the condition holds and the program waits for the person again.
    void Await(const std::string& what, const std::function<bool()>& condition) const;
    // Presses a key in the focused control of a dialog that RunDriven shows, and waits for its effects. The message is
    // that of a key or of a character.
    void Key(UINT message, WPARAM key, bool shift = false, bool control = false) const;
    // Returns the id of the focused control of such a dialog.
    int Focus() const;
    // Waits until the thread of a dialog that RunDriven shows has dispatched all that was posted to it, or until
    // the dialog is gone.
    void Settle() const;

  private:
    DWORD m_process;
    HWND m_dialog = nullptr;
};

// The keyboard's state for the next messages of this thread.
inline void HoldKeys(bool shift, bool control) {
    BYTE keys[256] = {};
    keys[VK_SHIFT] = shift ? 0x80 : 0;
    keys[VK_CONTROL] = control ? 0x80 : 0;
    EXPECT_TRUE(SetKeyboardState(keys));
}

inline HWND NewWindow(LPCWSTR kind, DWORD style, LPCWSTR title = TEXT(""), HWND parent = nullptr,
                      int width = 50, void* parameter = nullptr) {
    return CreateWindowExW(0, kind, title, style, 10, 10, width, 50, parent, nullptr, nullptr, parameter);
}

// Registers a class of windows, unless it is registered already. Returns its name.
inline LPCWSTR WindowClass(LPCWSTR name, WNDPROC procedure = DefWindowProcW) {
    WNDCLASSEXW kind = {};
    kind.cbSize = sizeof kind;
    kind.lpfnWndProc = procedure;
    kind.lpszClassName = name;
    (void)RegisterClassExW(&kind);
    return name;
}

Text TextOf(HWND window);
inline bool IsShown(HWND window) {
    return IsWindowVisible(window);
}
bool IsTicked(HWND button);

// Runs `dialog` (it shows a dialog with that title and waits for its end) on this thread and `person` on another one.
// Returns the result of `dialog`. If the dialog is still open after `person`, the test fails and the dialog is ended.
INT_PTR RunDriven(const Text& title, const std::function<INT_PTR()>& dialog,
                  const std::function<void(const Driver&)>& person);
