// Compiled resources.
#pragma once

#include <windows.h>

#include <string_view>

namespace winhost {

inline constexpr WORD kStringTable = 6;
inline constexpr WORD kVersionResource = 16;

struct ResourceSearch {
    bool anyOfType = false;
    bool found = false;
    std::string_view data;
};
// Finds a resource by its number in a compiled .res file, which may be damaged. `data` is a part of `res`.
ResourceSearch FindResource(std::string_view res, WORD type, WORD name);

// Returns the .res of this program. Empty when it has none.
std::string_view OwnResources();

}  // namespace winhost
