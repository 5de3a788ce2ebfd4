// The text that the uninstall reads registry values into.
#pragma once

#include <framework.h>

// Shared scratch text of the sweep over all users and of the file association restore: a query takes 1024 bytes.
inline constexpr int kRegScratchChars = 512;
extern WCHAR g_regScratch[kRegScratchChars];

// Reads a value of any type from an open key into g_regScratch; null names the default value. Returns false
// and leaves the scratch text empty when the value can't be read or doesn't fit.
bool ReadRegScratch(HKEY key, LPCWSTR value);
