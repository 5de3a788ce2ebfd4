// The privileges of this process.
#pragma once

#include "core/host_io.h"

namespace winhost {

// Whether the process may shut the system down now.
bool HoldsShutdownPrivilege();

}  // namespace winhost
