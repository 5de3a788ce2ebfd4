// Lines of a text file as the program reads them.
#pragma once

#include <framework.h>

#include <cstdio>

// Reads one line with its line end, or the first cchLine - 1 characters of it; the next read goes on there.
// Byte b is character b, and a null byte ends the text of its line. False at the end of the file. Allocates
// nothing; cchLine is at most 512.
bool ReadTextLine(LPWSTR line, int cchLine, FILE* file);
