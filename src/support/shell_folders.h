// The shell's folders by number.
#pragma once

#include <framework.h>

// Where the registry holds a user's folders, below the root of the user and below HKEY_LOCAL_MACHINE alike.
inline constexpr WCHAR kShellFoldersKey[] =
    TEXT("Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders");

// A shell folder's path up to this length counts as no folder.
inline constexpr int kNoFolderChars = 4;

// The path of a shell folder (a CSIDL number), made by the shell when it doesn't exist yet; no separator is
// added or removed. When the shell fails, what the "Shell Folders" key of the registry holds for it, normally
// the same path. Empty when unknown.
CString GetShellFolder(int folder);
