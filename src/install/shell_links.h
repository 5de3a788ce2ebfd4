// Shortcuts to the installed files.
#pragma once

#include <framework.h>

inline constexpr DWORD kDefaultShowCommand = 1;

// Saves a shortcut and, once it is saved, records it in the log of g_targetDir.
//   target         path of the file, with or without enclosing double quotes, at most 511 characters
//   linkPath       full path of the .lnk file, at most 259 characters
//   showCommand    is set on the link unless it is kDefaultShowCommand
//   arguments, workingFolder   are set unless they are null
// Returns the last HRESULT. A text that is too long fails with E_INVALIDARG and saves nothing. If
// the shell refuses the target or the description, a message box says so, even in a silent run, and
// the link is still saved.
HRESULT MakeShellLink(LPCWSTR target, LPCWSTR linkPath, LPCWSTR description, DWORD showCommand,
                      LPCWSTR arguments, LPCWSTR workingFolder);
