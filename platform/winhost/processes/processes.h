// What other parts of the platform ask about process handles.
#pragma once

#include <windows.h>

namespace winhost {

// Says whether a handle means this process or another one. Sets the last error when it is no process.
enum class Whose { NoProcess, ThisProcess, OtherProcess };
Whose WhoseHandle(HANDLE handle);

}  // namespace winhost
