// The message boxes of the running system, for programs that answer them. Windows only.
#pragma once

#include <windows.h>

#include "common/text.h"

namespace tools {

// The control that holds the text of a box.
inline constexpr int kBoxText = 0xFFFF;

// Whether the window is a message box that is shown. Dialogs with other controls than the buttons, text and icon of a
// box are none.
bool IsMessageBox(HWND window);

// Returns the text of a window, which may be another process's.
WideText TextOf(HWND window);

// Returns the button that changes least: No, else Cancel, else OK.
int SafestButton(HWND box);

// Presses a button of a box. When the call returns, the box is hidden, so it isn't answered twice.
void AnswerBox(HWND box, int button);

}  // namespace tools
