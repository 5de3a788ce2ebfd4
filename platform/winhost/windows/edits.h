// The system's class "Edit".
#pragma once

#include <windows.h>

namespace winhost {

LRESULT EditProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

}  // namespace winhost
