// The system's class "Static".
#pragma once

#include <windows.h>

namespace winhost {

// The window procedure of the class.
LRESULT StaticProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

}  // namespace winhost
