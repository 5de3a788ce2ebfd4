// What other subjects ask about process handles.
#pragma once

#include <windows.h>

namespace winhost {

// Whether a handle given to a call that takes any process means this one; sets the last error when it is no
// process.
enum class Whose { NoProcess, ThisProcess, OtherProcess };
Whose WhoseHandle(HANDLE handle);

}  // namespace winhost
