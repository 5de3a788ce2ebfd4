// What the lines of HomePage.url give to the address of the closing page.
#pragma once

#include <framework.h>

// Characters of a buffer for one line, its terminator included.
inline constexpr int kUrlLineChars = 260;

// Lets one line, trimmed, act on the query text: a page's address replaces it by its own, an address of
// updates adds its language. Other lines do nothing.
void TakeQueryLine(const CString& line, CString& query);
