// Takes the application off the machine, in a fixed order, without a report of single failures.
#pragma once

#include <framework.h>

// `folder`: the installation folder with a closing backslash.
void PerformUninstall(LPCWSTR folder);

// How long thumbnail handler and application each have to unregister themselves.
inline constexpr DWORD kUnregisterMs = 5000;

// Scratch text of the sweep over all users and of the file association restore, 1024 bytes a query.
inline constexpr int kRegScratchChars = 512;
extern WCHAR g_regScratch[kRegScratchChars];

// Reads a value of an open key into g_regScratch, whatever its type; null names the default value. A longer
// text than fits is a failure. False on failure, with the scratch text empty.
bool ReadRegScratch(HKEY key, LPCWSTR value);
