// The recipe: records and remarks of the package's maker. They are copied to the manifest unchanged.
#pragma once

#include <string>
#include <vector>

#include "package_make/source_folder.h"

namespace package_make {

// Returns the lines of the recipe at a path of the running system. `shown` names it in messages. Throws BadInput if it
// can't be read, or if setup would read its lines differently: 16-bit characters, a byte 0 or 1A, more than 511
// characters in a line.
std::vector<CString> ReadRecipe(const CString& path, const std::string& shown);

}  // namespace package_make
