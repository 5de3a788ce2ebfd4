#include "support/shell_folders.h"

#include <shlobj.h>

#include "support/registry.h"

namespace {

struct FolderValue {
    int folder;
    HKEY hive;
    LPCWSTR value;
};

CString ShellFolderFromRegistry(int folder) {
    static const FolderValue kValues[] = {
        {CSIDL_DESKTOP, HKEY_CURRENT_USER, TEXT("Desktop")},
        {CSIDL_PROGRAMS, HKEY_CURRENT_USER, TEXT("Programs")},
        {CSIDL_PERSONAL, HKEY_CURRENT_USER, TEXT("Personal")},
        {CSIDL_STARTUP, HKEY_CURRENT_USER, TEXT("Startup")},
        {CSIDL_COMMON_PROGRAMS, HKEY_LOCAL_MACHINE, TEXT("Common Programs")},
        {CSIDL_COMMON_STARTUP, HKEY_LOCAL_MACHINE, TEXT("Common Startup")},
        {CSIDL_COMMON_DESKTOPDIRECTORY, HKEY_LOCAL_MACHINE, TEXT("Common Desktop")},
        {CSIDL_APPDATA, HKEY_CURRENT_USER, TEXT("AppData")},
        {CSIDL_COMMON_APPDATA, HKEY_LOCAL_MACHINE, TEXT("Common AppData")},
        {CSIDL_MYPICTURES, HKEY_CURRENT_USER, TEXT("MyPictures")},
        {CSIDL_COMMON_DOCUMENTS, HKEY_LOCAL_MACHINE, TEXT("Common Documents")},
        {CSIDL_COMMON_PICTURES, HKEY_LOCAL_MACHINE, TEXT("CommonPictures")},
    };
    for (const FolderValue& row : kValues)
        if (row.folder == folder) return GetRegString(row.hive, kShellFoldersKey, row.value);
    return GetRegString(HKEY_CURRENT_USER, kShellFoldersKey, nullptr);
}

}  // namespace

CString GetShellFolder(int folder) {
    WCHAR path[MAX_PATH] = {};
    if (SUCCEEDED(SHGetFolderPathW(nullptr, folder | CSIDL_FLAG_CREATE, nullptr, SHGFP_TYPE_CURRENT, path)))
        return path;
    return ShellFolderFromRegistry(folder);
}
