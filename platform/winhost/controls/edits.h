// The system's class "Edit".
#pragma once

#include <windows.h>

namespace winhost {

// The window procedure of the class.
LRESULT EditProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

}  // namespace winhost
