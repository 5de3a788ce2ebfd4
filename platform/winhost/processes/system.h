// What kind of system the machine is.
#pragma once

#include <windows.h>

namespace winhost {

// Only ntdll exports it, so programs find it by name.
NTSTATUS RtlGetVersion(RTL_OSVERSIONINFOW* version);

}  // namespace winhost
