// Steps that the engine's operations share.
#pragma once

#include <framework.h>

// The folder with a backslash behind it, unless it ends in a separator of either kind. An empty folder
// becomes "\".
CString WithSeparator(LPCWSTR folder);

// Takes away what keeps a file from being deleted; the other attributes stay. Failures are not looked at.
void ClearReadOnlyAndHidden(LPCWSTR path);

// The folder in which a pattern's files are looked for: the pattern's own folder part counts only behind a
// backslash, though the search finds files behind a forward slash as well.
CString CopySource(LPCWSTR fromFolder, LPCWSTR pattern);

// The folder that a pattern's files go into: its folder part included, with a closing backslash.
CString CopyTarget(LPCWSTR toFolder, LPCWSTR pattern);
