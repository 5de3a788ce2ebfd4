// Files and folders copied and moved.
#pragma once

#include <windows.h>

#include "core/host_io.h"
#include "files/paths.h"

namespace winhost {

// Moves a file or folder within its drive by all rules but those of sharing. Returns the error code, or 0.
DWORD MovePlace(const Place& from, const Place& to, bool replace);

}  // namespace winhost
