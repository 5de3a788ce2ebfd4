// The version of a program file.
#pragma once

#include <framework.h>

#include <cstddef>

// True when the value is a part of the version block. A damaged block may name a place outside itself.
bool LiesInBlock(const void* value, std::size_t cbValue, const void* block, std::size_t cbBlock);

// Reads the numbers of a file's version block into g_version; all 0 when it has none.
void ReadFileVersion(LPCWSTR path);
