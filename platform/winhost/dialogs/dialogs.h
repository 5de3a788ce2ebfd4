// Modal dialogs.
#pragma once

#include <windows.h>

#include <optional>

#include "dialogs/dialog_template.h"

namespace winhost {

// Makes a modal dialog and runs it until EndModal. Returns the value given to EndModal, or -1 when the dialog can't be
// made. `answer` is called each time all waiting messages are dispatched: it uses the dialog as a person would, or
// returns false to wait for messages.
INT_PTR RunModal(std::optional<DialogTemplate> dialog, HINSTANCE module, HWND owner, DLGPROC procedure,
                 LPARAM parameter, bool (*answer)(HWND dialog));
}  // namespace winhost
