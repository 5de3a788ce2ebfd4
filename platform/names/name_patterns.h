// How a search by pattern compares names. It works on text only and looks at no file.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace names {

using Text = std::basic_string<WCHAR>;
using TextView = std::basic_string_view<WCHAR>;

// Whether a search takes the last part of a path as a pattern. Besides `*` and `?` these are `<`, `>` and
// `"`, which the file system itself knows.
bool IsPattern(TextView name);

// The expression that the file system compares names with. `typed` is the last part of a path as the caller typed it,
// in upper case. Blanks and dots at its end are cut here and have the effect that they have in Windows.
Text Expression(TextView typed);

// Whether a whole name in upper case matches. "." and ".." match as they do in the search of a folder.
bool Matches(const Text& expression, TextView name);

}  // namespace names
