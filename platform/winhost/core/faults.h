// Faults of platform calls: each call is counted, and each can be told to fail.
#pragma once

#include <windows.h>

namespace winhost {

// Every platform call begins with this. Counts the call by name. Returns true when the call must fail; the last error
// is then set to the error of the fault, or to `error` when the fault names none.
bool Fails(const char* call, DWORD error = ERROR_ACCESS_DENIED);
// The same for calls that return their error. Returns 0, or the error code of the fault.
DWORD FaultOf(const char* call, DWORD error = ERROR_ACCESS_DENIED);
// Whether time passes by waits only.
bool VirtualClock();
// The name of the platform call that this thread began last. Empty before the first.
const char* CurrentCall();
// Writes the call counts to the file that WINHOST_COUNTS names. Called when the process ends.
void WriteCounts();

}  // namespace winhost
