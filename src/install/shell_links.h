// Shortcuts to the installed files.
#pragma once

#include <framework.h>

inline constexpr DWORD kDefaultShowCommand = 1;

// Saves a shortcut and, once it is saved, records it in the log of g_targetDir.
//   target         path of the file, with or without enclosing double quotes, at most 511 characters
//   linkPath       full path of the .lnk file, at most 259 characters
//   showCommand    kDefaultShowCommand is not set on the link
//   arguments, workingFolder   set when not null
// Gives the last HRESULT obtained. A longer text fails with E_INVALIDARG and saves nothing. A target or
// description that the shell refuses is told in a message box, in silent runs too, and the link is saved all
// the same.
HRESULT MakeShellLink(LPCWSTR target, LPCWSTR linkPath, LPCWSTR description, DWORD showCommand,
                      LPCWSTR arguments, LPCWSTR workingFolder);
