// Version blocks of any file.
#pragma once

#include <windows.h>

#include <optional>
#include <string_view>

namespace winhost {

struct VersionSearch {
    DWORD error = ERROR_SUCCESS;
    std::string_view block;
};
// Finds the version block in the bytes of a file: a Windows executable, or a host program with a compiled .res. `block`
// is a part of `file`; `error` is 0 or says what is missing.
VersionSearch FindVersionBlock(std::string_view file);

// The smallest size of a block, in bytes: its length, its value's length, and its type.
inline constexpr std::size_t kVersionHeader = 6;

struct VersionValue {
    std::string_view bytes;  // a part of the block
    UINT size = 0;           // characters of a text, including its terminator; bytes of anything else
};
// Finds the value that a query such as "\VarFileInfo\Translation" names in a block, which may be damaged. The case of
// names doesn't matter. An empty query, or one of backslashes only, means the value of the block itself. Returns none
// when the block holds no such name, or not all of the value.
std::optional<VersionValue> FindVersionValue(std::string_view block, std::u16string_view query);

}  // namespace winhost
