// Version blocks of any file.
#pragma once

#include <windows.h>

#include <string_view>

namespace winhost {

struct VersionSearch {
    DWORD error = ERROR_SUCCESS;
    std::string_view block;
};
// Finds the version block in a file's bytes: a Windows executable, or a host program with a compiled .res
// inside.
VersionSearch FindVersionBlock(std::string_view file);

}  // namespace winhost
