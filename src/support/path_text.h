// Path and string helpers that all rooms share.
#pragma once

#include <framework.h>

inline constexpr int kPathChars = MAX_PATH;

// The path without its last component and without a closing separator. One closing backslash is removed first. Empty
// for null, for the root of a drive, and for any path that has no backslash after its first character.
CString ParentDir(LPCWSTR path);

// True when the path is that of an existing file or folder.
bool Exists(LPCWSTR path);

// The text of a string resource; empty when the id doesn't exist.
CString LoadResString(UINT id);

// Formats wide text as printf does: %s takes wide text, %d and %02d take a number. Returns the number of
// characters written. If text and terminator don't fit into `cchBuffer` characters, it returns -1 and the
// buffer holds an empty text. The pattern must not lie in the buffer.
int FormatBounded(LPWSTR buffer, std::size_t cchBuffer, LPCWSTR format, ...);
// The same without a length, for a caller that knows that the text fits.
int FormatUnbounded(LPWSTR buffer, LPCWSTR format, ...);
