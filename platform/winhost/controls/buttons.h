// The system's class "Button".
#pragma once

#include <windows.h>

namespace winhost {

// The window procedure of the class.
LRESULT ButtonProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

}  // namespace winhost
