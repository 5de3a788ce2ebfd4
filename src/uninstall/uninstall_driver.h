// Removes the application from the machine, in a fixed order. Single failures aren't reported.
#pragma once

#include <framework.h>

// Does the whole uninstall. `folder` is the installation folder with a closing backslash.
void PerformUninstall(LPCWSTR folder);

// Removes the folder above the installation folder if the product's name has several levels. If it can't be removed, it is
// marked for the next start.
void RemoveParentFolder(const CString& folder, const CString& productName);

// The time that the thumbnail handler and the application each have to unregister themselves.
inline constexpr DWORD kUnregisterMs = 5000;
