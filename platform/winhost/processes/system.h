// What kind of system the machine is.
#pragma once

#include <windows.h>

namespace winhost {

// Exported by ntdll only, and so found by name.
NTSTATUS RtlGetVersion(RTL_OSVERSIONINFOW* version);

}  // namespace winhost
