// Compiled resources.
#pragma once

#include <windows.h>

#include <string_view>

#include "core/host_io.h"

namespace winhost {

inline constexpr WORD kStringTable = 6;
inline constexpr WORD kVersionResource = 16;

struct ResourceSearch {
    bool anyOfType = false;
    bool found = false;
    std::string_view data;
};
// Finds a numbered resource in a compiled .res file, which may be damaged.
ResourceSearch FindResource(std::string_view res, WORD type, WORD name);

// The .res that this program carries; empty when it carries none.
std::string_view OwnResources();

}  // namespace winhost
