// The controls of a dialog, by their ids.
#pragma once

#include <windows.h>

namespace winhost {

// Returns the control with that id, or null.
HWND ControlOf(HWND dialog, int id);

}  // namespace winhost
