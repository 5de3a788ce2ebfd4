// Lines of a text file as the program reads them.
#pragma once

#include <framework.h>

#include <cstdio>

// Reads one line with its line end, or the first cchLine - 1 characters of it; the next read then continues
// there. cchLine is at most 512. Byte b becomes character b, and a null byte ends the text of its line.
// Returns false at the end of the file. Allocates nothing.
bool ReadTextLine(LPWSTR line, int cchLine, FILE* file);
