// Windows paths and their places on the host.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

#include "core/host_io.h"

namespace winhost {

bool IsSeparator(char16_t unit);
// False for null and for no text.
bool EndsInSeparator(LPCWSTR path);
// The full Windows path: drive letter, backslashes, no "." or "..", no closing backslash but a root's. Empty,
// with the last error set, when the text is no path of this machine.
std::u16string FullPath(LPCWSTR path);
struct Place {
    DWORD error = 0;  // 0 when the file or folder exists; ERROR_FILE_NOT_FOUND when only its last name is
                      // missing; otherwise why the path leads nowhere
    std::u16string windows;  // full Windows path, names as the caller spelled them
    std::string host;        // path on the host: names as they are stored, or as spelled where missing
    bool isFolder = false;
    bool exists() const { return error == 0; }
    // The folder that would hold it is there.
    bool reachable() const { return error == 0 || error == ERROR_FILE_NOT_FOUND; }
};
// Finds a path's place without regard to case. Sets no last error.
Place Locate(LPCWSTR path);
Place Locate(const std::u16string& path);
// A missing file can't be named with a closing separator: as Locate, but ERROR_INVALID_NAME for that.
Place LocateFile(LPCWSTR path);

}  // namespace winhost
