// The keyboard in dialogs.
#pragma once

#include <windows.h>

namespace winhost {

// Does what a message means to a dialog. Returns false when the message is meant for another window.
bool HandleDialogMessage(HWND dialog, const MSG& message);

}  // namespace winhost
