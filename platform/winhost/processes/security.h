// The privileges of this process.
#pragma once

namespace winhost {

// Whether the process may shut the system down now.
bool HoldsShutdownPrivilege();

}  // namespace winhost
