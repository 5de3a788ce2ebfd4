// Message boxes of the running system, as a program sees them that answers them. Windows only.
#pragma once

#include <windows.h>

namespace tools {

// The control that holds a box's text.
inline constexpr int kBoxText = 0xFFFF;

// Whether the window is a message box that is shown. Other dialogs hold other controls than a box's buttons, text and
// icon.
bool IsMessageBox(HWND window);

}  // namespace tools
