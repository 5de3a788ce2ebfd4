// What waits for the machine's next start.
#pragma once

#include <windows.h>

#include "core/host_io.h"

namespace winhost {

// Marks a move, or with a null target a delete, for the next start. Returns false, with the last error set, when it fails.
bool AddBootMark(LPCWSTR source, LPCWSTR target, bool replace);

}  // namespace winhost
