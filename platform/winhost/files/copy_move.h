// Copies and moves files and folders.
#pragma once

#include <windows.h>

#include "files/paths.h"

namespace winhost {

// Moves a file or folder within its drive by all rules except those of sharing. Returns 0 or an error code.
DWORD MovePlace(const Place& from, const Place& to, bool replace);

}  // namespace winhost
