// Path and string helpers that the engine and the dialogs share.
#pragma once

#include <framework.h>

inline constexpr int kPathChars = MAX_PATH;

// The path less its last component, without a closing separator. One closing backslash is cut first. Empty
// for null, for a path without a backslash behind its first character, and so for the root of a drive.
CString ParentDir(LPCWSTR path);

// True when a file or folder stands at the path.
bool Exists(LPCWSTR path);

// The text of a string resource; empty when the id doesn't exist.
CString LoadResString(UINT id);

// printf-style formatting of wide text: %s takes a wide text, %d and %02d a number. Gives the number of
// characters written, or -1 when text and terminator don't fit into `cchBuffer`: a failure, not a cut; the
// buffer then holds an empty text. The pattern must not lie in the buffer.
int FormatBounded(LPWSTR buffer, std::size_t cchBuffer, LPCWSTR format, ...);
// The same without a length: the caller knows that the text fits.
int FormatUnbounded(LPWSTR buffer, LPCWSTR format, ...);
