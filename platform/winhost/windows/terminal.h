// Dialogs of a plain run, used by a person at the terminal.
#pragma once

#include <windows.h>

#include "core/host_io.h"

namespace winhost {

// Shows the dialog at the terminal and carries out what the person does there. False when a test drives it.
// Without a person the process ends, as at the end of a user's session.
bool AskPerson(HWND dialog);

}  // namespace winhost
