// Splits paths into their parts.
#include <windows.h>

#include <algorithm>
#include <string_view>

void _wsplitpath(const char16_t* path, char16_t* drive, char16_t* directory, char16_t* name,
                 char16_t* extension) {
    std::u16string_view rest = path;
    // A part that is too long for the caller's buffer is cut.
    const auto give = [&rest](char16_t* buffer, std::size_t length, std::size_t cchBuffer) {
        if (buffer) *std::copy_n(rest.data(), std::min(length, cchBuffer - 1), buffer) = 0;
        rest.remove_prefix(length);
    };
    give(drive, rest.size() > 1 && rest[1] == u':' ? 2 : 0, _MAX_DRIVE);
    const std::size_t separator = rest.find_last_of(u"\\/");
    give(directory, separator == rest.npos ? 0 : separator + 1, _MAX_DIR);
    give(name, std::min(rest.rfind(u'.'), rest.size()), _MAX_DIR);
    give(extension, rest.size(), _MAX_DIR);
}
