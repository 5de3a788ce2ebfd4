// Compiled resources: those of this program, and version blocks of any file.
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
// Finds a numbered resource in a compiled .res file, which may be damaged.
ResourceSearch FindResource(std::string_view res, WORD type, WORD name);

// The .res that this program carries; empty when it carries none.
std::string_view OwnResources();

// ---- version_block.cpp ----
struct VersionSearch {
    DWORD error = ERROR_SUCCESS;
    std::string_view block;
};
// Finds the version block in a file's bytes: a Windows executable, or a host program with a compiled .res
// inside.
VersionSearch FindVersionBlock(std::string_view file);

}  // namespace winhost
