// The controls of a dialog, by their ids.
#pragma once

#include <windows.h>

namespace winhost {

// The control of that id; null when there is none.
HWND ControlOf(HWND dialog, int id);

}  // namespace winhost
