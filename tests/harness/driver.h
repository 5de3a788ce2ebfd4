// Drives the dialogs of this process, or of a program that a test has started, by what a person sees of them:
// from another thread or another process than the dialog's own.
#pragma once

#include <functional>

#include "harness/scratch.h"

// An open dialog: the wizard's frame, or a window that it has opened.
class Driver {
  public:
    // Waits for a dialog of the process with that title; a failure of the test when none comes.
    Driver(DWORD process, const Text& title);

    HWND Window() const { return m_dialog; }
    // The dialog within it, if there is one.
    HWND Page() const;
    // A control of the dialog, or of the page.
    HWND Control(int control) const;
    HWND PageControl(int control) const;
    // True as soon as the dialog is gone; it is waited for a little.
    bool HasEnded() const;
    Text Title() const;

    // Presses a button and waits until the program has done what it does then. A button that a person could
    // not press is a failure of the test.
    void Press(HWND button) const;
    void Press(int button) const { Press(Control(button)); }
    void PressInPage(int button) const { Press(PageControl(button)); }
    // Presses a button that opens another dialog, with that title.
    Driver Open(HWND button, const Text& title) const;
    void Type(HWND edit, const Text& text) const;
    // Presses a button that opens the folder browser, and there chooses the folder, or the one that it opens
    // at when the text is empty; cancels it without a text.
    void Browse(HWND button, const std::optional<Text>& folder) const;
    // Waits until the condition holds, and until the program waits for the person again.
    void Await(const std::function<bool()>& condition) const;
    // Presses a key in the control that has the focus, of a dialog that RunDriven shows, and lets what it
    // leads to happen; the message is one of a key or of a character.
    void Key(UINT message, WPARAM key, bool shift = false) const;
    // The number of that control.
    int Focus() const;
    // Waits until all that has been posted to the thread of a dialog that RunDriven shows, and what that
    // posts, is dispatched, or the dialog is gone.
    void Settle() const;
    // Ends a dialog that a person would still have to deal with.
    void End() const;

  private:
    DWORD m_process;
    HWND m_dialog = nullptr;
};

Text TextOf(HWND window);
bool IsShown(HWND window);
bool IsTicked(HWND button);

// Runs `dialog` (something that shows a dialog with that title and waits for it) on this thread and `person`
// on another. A dialog that is still open when the person is through is a failure of the test, and is ended.
INT_PTR RunDriven(const Text& title, const std::function<INT_PTR()>& dialog,
                  const std::function<void(const Driver&)>& person);
