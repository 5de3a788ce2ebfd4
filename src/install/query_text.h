// What the lines of HomePage.url add to the address of the closing page.
#pragma once

#include <framework.h>

// Characters of a buffer for one line, its terminator included.
inline constexpr int kUrlLineChars = 260;

// Applies one trimmed line to the query text. The address of a page replaces the text by its own query. The
// address of updates adds its language. Other lines have no effect.
void TakeQueryLine(const CString& line, CString& query);
