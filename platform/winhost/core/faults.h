// The seam of all platform calls: each is counted, and each can be told to fail.
#pragma once

#include <windows.h>

#include "core/host_io.h"

namespace winhost {

// Every platform call begins with this: counts it by name, and says whether it is to fail, with the last
// error then set to `error` or to the one the fault names.
bool Fails(const char* call, DWORD error = ERROR_ACCESS_DENIED);
// The same for calls that return their error: 0, or the error code of the fault.
DWORD FaultOf(const char* call, DWORD error = ERROR_ACCESS_DENIED);
// Whether waits of a fixed length return at once.
bool VirtualClock();
// The platform call that this thread began last; empty before the first.
const char* CurrentCall();
// Writes the call counts where WINHOST_COUNTS says; called as the process ends.
void WriteCounts();

}  // namespace winhost
