// Steps that the engine's operations share.
#pragma once

#include <framework.h>

// The folder with a backslash behind it, unless it ends in a separator of either kind. An empty folder
// becomes "\".
CString WithSeparator(LPCWSTR folder);

// Takes away what keeps a file from being deleted; the other attributes stay. Failures are not looked at.
void ClearReadOnlyAndHidden(LPCWSTR path);
