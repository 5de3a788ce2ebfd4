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

// What the file system compares names with. `typed` is the last part of a path as the caller typed it, in
// upper case; blanks and dots at its end are cut here, and count as they do in Windows.
Text Expression(TextView typed);

// Whether the whole of a name in upper case matches. "." and ".." match as the search of a folder finds them.
bool Matches(const Text& expression, TextView name);

}  // namespace names
