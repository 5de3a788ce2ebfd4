// The shell's folders by number.
#pragma once

#include <framework.h>

// The key that holds the folders of a user, below the user's root, and those of all users, below HKEY_LOCAL_MACHINE.
inline constexpr WCHAR kShellFoldersKey[] =
    TEXT("Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders");

// A path as short as the root of a drive ("C:\") is no folder of the shell. The two limits differ by one, and
// both are kept: the uninstall and the search for Startup shortcuts pass over a folder of up to 4 characters,
// while the install accepts a common Programs folder of 4.
inline constexpr int kNoFolderChars = 4;
inline constexpr int kMinProgramsPathChars = 4;

// The path of a shell folder (a CSIDL number), as the shell returns it. The shell makes the folder when it
// doesn't exist yet. If the shell fails, the path comes from the "Shell Folders" key of the registry, which
// is normally the same. Empty when it is unknown.
CString GetShellFolder(int folder);
