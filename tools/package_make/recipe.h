// The recipe: records and remarks of the package's maker, which go into the manifest as they are.
#pragma once

#include <string>
#include <vector>

#include "package_make/source_folder.h"

namespace package_make {

// The lines of the recipe, which lies at a path of the running system. `shown` names it in messages. Throws
// BadInput when it can't be read, or when setup wouldn't read its lines as they stand: 16-bit characters, a
// byte 0 or 1A, more than 511 characters in a line.
std::vector<CString> ReadRecipe(const CString& path, const std::string& shown);

}  // namespace package_make
