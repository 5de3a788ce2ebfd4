// What of the registry nobody has changed since it was read. Under Windows each value is a question to another process, so that
// to read all of them takes longer than an install.
#pragma once

#include <windows.h>

#include <string>

namespace lab {

// Returns whether nothing has changed in the key, or below it, since the last call with this name. The first call returns
// false, as does each call on an embedded machine, which is read quickly.
bool IsUnchanged(HKEY key, const std::string& name);

}  // namespace lab
