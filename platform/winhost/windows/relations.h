// How windows are related.
#pragma once

#include <windows.h>

namespace winhost {

// Whether a window and all windows around it are shown.
bool Shows(HWND window);

}  // namespace winhost
