// The system's classes "Static" and "msctls_progress32".
#pragma once

#include <windows.h>

namespace winhost {

// The window procedures of the classes.
LRESULT StaticProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
LRESULT ProgressProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

}  // namespace winhost
