// What is left for the machine's next start.
#pragma once

#include <windows.h>

#include "core/host_io.h"

namespace winhost {

// Marks a move, or with a null target a delete, for the next start. Fails with the last error set.
bool AddBootMark(LPCWSTR source, LPCWSTR target, bool replace);

}  // namespace winhost
