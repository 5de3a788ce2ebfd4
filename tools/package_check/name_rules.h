// What Windows does with the names in records, by rules that are the same on every system that checks a package.
#pragma once

#include <vector>

#include "name_patterns.h"
#include "package_check/package_paths.h"

namespace package_check {

// Whether there is a character that Windows' names can't hold. Wildcards and separators don't count.
bool HasForbidden(const CString& name);

// Whether a level of the path ends with a blank or a dot. A
// pattern may end with a dot: "*." finds names without one.
bool HasBlankOrDotEnd(const CString& path);

// Whether a level of the path is the name of a device, with or without an extension.
bool HasDevice(const CString& path);

// Whether a level of the path is too long for the file systems on which packages are made: they count the bytes of UTF-8.
bool HasTooLong(const CString& path);

// Returns the short names, 8 characters and an extension of 3, that a drive tries first for a name in upper case. None
// if the name is short itself.
std::vector<Wide> ShortNamesOf(const Wide& name);

// Whether a search finds an entry of that name, in upper case, by its short name only.
bool MatchesByShortName(const names::Text& expression, const Wide& name);

}  // namespace package_check
