// Profile files (.ini).
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "files/paths.h"

namespace winhost {

// Returns the entries of a section, trimmed, in order: "key=value", or the whole line if it has no "=".
std::vector<std::u16string> ReadSection(const Place& file, std::u16string_view section);

}  // namespace winhost
