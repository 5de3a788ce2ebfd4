// The message boxes of the running system, for programs that answer them. Windows only.
#pragma once

#include <windows.h>

namespace tools {

// The control that holds the text of a box.
inline constexpr int kBoxText = 0xFFFF;

// Whether the window is a message box that is shown. Dialogs with other controls than the buttons, text and icon of a
// box are none.
bool IsMessageBox(HWND window);

}  // namespace tools
