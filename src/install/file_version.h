// The version of a program file.
#pragma once

#include <framework.h>

// Reads the numbers of a file's version block into g_version; all 0 when it has none.
void ReadFileVersion(LPCWSTR path);
