// Steps that the engine's operations share.
#pragma once

#include <framework.h>

// The folder with a closing backslash, unless it ends in a separator of either kind.
// An empty folder becomes "\".
CString WithSeparator(LPCWSTR folder);

// Clears the attributes that keep a file from being deleted, and leaves the others. Failures are ignored.
void ClearReadOnlyAndHidden(LPCWSTR path);

// The folder from which a pattern's files are copied. The folder part of the pattern counts only when it ends
// in a backslash, though the search also finds files after a forward slash.
CString CopySource(LPCWSTR fromFolder, LPCWSTR pattern);

// The folder into which a pattern's files are copied: it includes the folder part of the
// pattern and ends in a backslash.
CString CopyTarget(LPCWSTR toFolder, LPCWSTR pattern);
