// Windows paths and their host paths.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace winhost {

bool IsSeparator(char16_t unit);
// Returns false for null and for an empty text.
bool EndsInSeparator(LPCWSTR path);
// Returns the full Windows path: drive letter, backslashes, no "." or "..", and a closing backslash if `path` has one. A device
// is named "\\.\NUL" and so on, a network path "\\server\share". Empty, with the last error set, when there is no path.
std::u16string FullPath(LPCWSTR path);
// Returns the current folder as this process spelled it. Only a root has a closing backslash.
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
    // Whether the folder exists that would contain the file.
    bool reachable() const { return error == 0 || (error == ERROR_FILE_NOT_FOUND && !isDevice); }
};
// Finds a path's place without regard to case, by short names too. Sets no last error.
Place Locate(LPCWSTR path);
Place Locate(const std::u16string& path);
// Stores the spelling of the folder that has become the current one.
void SpellCurrentFolder(const Place& place);
// As Locate, but a missing file with a closing separator results in ERROR_INVALID_NAME.
Place LocateFile(LPCWSTR path);

}  // namespace winhost
