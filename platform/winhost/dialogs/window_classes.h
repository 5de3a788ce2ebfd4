// The window classes of this process: those of the system and those that the program registers.
#pragma once

#include <windows.h>

namespace winhost {

// Makes a window of the calling thread, of the class that `wanted` names. Returns null, with the last error set, when
// that fails.
HWND CreateOfClass(const CREATESTRUCTW& wanted);

}  // namespace winhost
