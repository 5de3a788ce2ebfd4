// The shell's folders by number.
#pragma once

#include <framework.h>

// Where the registry holds a user's folders, below the root of the user and below HKEY_LOCAL_MACHINE alike.
inline constexpr WCHAR kShellFoldersKey[] =
    TEXT("Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders");

// A path as short as the root of a drive ("C:\") is no folder of the shell. The two limits differ by one, and
// both are kept: the uninstall and the search for Startup shortcuts pass over a folder of up to 4 characters,
// while the install accepts a common Programs folder of 4.
inline constexpr int kNoFolderChars = 4;
inline constexpr int kMinProgramsPathChars = 4;

// The path of a shell folder (a CSIDL number), made by the shell when it doesn't exist yet; no separator is
// added or removed. When the shell fails, what the "Shell Folders" key of the registry holds for it, normally
// the same path. Empty when unknown.
CString GetShellFolder(int folder);
