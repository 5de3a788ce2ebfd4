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
// The full Windows path: drive letter, backslashes, no "." or "..", a closing backslash where `path` has one.
// A device is named "\\.\NUL" and the like, a network path "\\server\share". Empty, with the last error set,
// when there is no path.
std::u16string FullPath(LPCWSTR path);
// The current folder as this process spelled it, without a closing backslash but a root's.
std::u16string CurrentFolder();
struct Place {
    DWORD error = 0;  // 0 when the file or folder exists; ERROR_FILE_NOT_FOUND when only its last name is
                      // missing; otherwise why the path leads nowhere
    std::u16string
        windows;       // full Windows path, names as the caller spelled them, without a closing backslash
    std::string host;  // path on the host: names as they are stored, or as spelled where missing
    bool isFolder = false;
    bool isClosed = false;         // the path had a closing backslash
    bool isFileForFolder = false;  // and a file stands there
    bool isDevice = false;         // NUL, COM1 and the like; no such file exists
    bool exists() const { return error == 0; }
    // The folder that would hold it is there.
    bool reachable() const { return error == 0 || (error == ERROR_FILE_NOT_FOUND && !isDevice); }
};
// Finds a path's place without regard to case. Sets no last error.
Place Locate(LPCWSTR path);
Place Locate(const std::u16string& path);
// The current folder has become this one.
void SpellCurrentFolder(const Place& place);
// A missing file can't be named with a closing separator: as Locate, but ERROR_INVALID_NAME for that.
Place LocateFile(LPCWSTR path);

}  // namespace winhost
