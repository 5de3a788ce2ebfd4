// Drives the dialogs of this process, or of a program that a test has started, as a person does: from another
// thread or another process.
#pragma once

#include <functional>

#include "harness/scratch.h"

// An open dialog: the wizard's frame, or a window that it has opened.
class Driver {
  public:
    // Waits for a dialog of the process with that title. Here and below, what doesn't come ends the test with
    // a failure (an exception).
    Driver(DWORD process, const Text& title);

    HWND Window() const { return m_dialog; }
    // The dialog within it, if there is one.
    HWND Page() const;
    // A control of the dialog, or of the page.
    HWND Control(int control) const;
    HWND PageControl(int control) const;
    // Waits two seconds at most for the dialog's end.
    bool HasEnded() const;
    Text Title() const;

    // Presses a button and waits until the program has done what it does then. A button that a person can't
    // press ends the test.
    void Press(HWND button) const;
    void Press(int button) const { Press(Control(button)); }
    void PressInPage(int button) const { Press(PageControl(button)); }
    // Presses a button that opens another dialog, with that title.
    Driver Open(HWND button, const Text& title) const;
    void Type(HWND edit, const Text& text) const;
    // Presses a button that opens the folder browser, and chooses the folder there. An empty text means the
    // folder at which the browser opens, and no text cancels the browser.
    void Browse(HWND button, const std::optional<Text>& folder) const;
    // Waits until the condition holds, and until the program waits for the person again.
    void Await(const std::string& what, const std::function<bool()>& condition) const;
    // Presses a key in the control that has the focus, of a dialog that RunDriven shows, and waits for what
    // follows. The message is one of a key or of a character.
    void Key(UINT message, WPARAM key, bool shift = false) const;
    // The number of that control.
    int Focus() const;
    // Waits until the thread of a dialog that RunDriven shows has dispatched all that was posted to it, or until
    // the dialog is gone.
    void Settle() const;

  private:
    DWORD m_process;
    HWND m_dialog = nullptr;
};

Text TextOf(HWND window);
bool IsShown(HWND window);
bool IsTicked(HWND button);

// Runs `dialog` (something that shows a dialog with that title and waits for it) on this thread and `person`
// on another. If the dialog is still open when the person is done, the test fails and the dialog is ended.
INT_PTR RunDriven(const Text& title, const std::function<INT_PTR()>& dialog,
                  const std::function<void(const Driver&)>& person);
