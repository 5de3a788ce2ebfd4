// Dialogs of a run without a test. A person uses them at the terminal.
#pragma once

#include <windows.h>

namespace winhost {

// Shows the dialog at the terminal and does what the person chooses. Returns false when a test uses the dialog. Without
// a person the process ends, as when a user logs off.
bool AskPerson(HWND dialog);

}  // namespace winhost
