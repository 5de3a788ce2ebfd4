// The one text format of manifest and log: records of one line, a prefix and a value.
//
// The file is bytes: byte b is character b, both ways, on every machine alike. No byte-order mark is known,
// no comment line, no header; a line that starts with no known prefix is skipped.
#pragma once

#include <framework.h>

#include <cstdio>

inline constexpr WCHAR kFileCopy[] = TEXT("File Copy: ");
inline constexpr WCHAR kFileCopyX64[] = TEXT("File Copy x64: ");
inline constexpr WCHAR kFileCopyInd[] = TEXT("File Copy ind: ");
inline constexpr WCHAR kFileCopyPrt[] = TEXT("File Copy prt: ");
inline constexpr WCHAR kFileOverwrite[] = TEXT("File Overwrite: ");
inline constexpr WCHAR kFileDel[] = TEXT("File Del: ");
inline constexpr WCHAR kMakeDir[] = TEXT("Make Dir: ");
inline constexpr WCHAR kMadeDir[] = TEXT("Made Dir: ");
inline constexpr WCHAR kShellLink[] = TEXT("Shell Link: ");
// What starts a comment, where one is known.
inline constexpr WCHAR kComment[] = TEXT(" | ");

// The line buffer: a read takes at most 511 characters, and a longer line arrives in pieces.
inline constexpr int kLineChars = 512;

// Reads one line and trims its right end of every character up to 0x20, but never the character at index 0.
// False at the end of the file. Allocates nothing.
bool ReadLogLine(WCHAR (&line)[kLineChars], FILE* file);

// The value behind the prefix when the line is a record of that kind (exact and case-sensitive), else null.
LPCWSTR RecordValue(LPCWSTR line, LPCWSTR prefix);

// Splits a value of two names at its first '>': the name in the package, and the name in the target folder.
// The blanks around the sign go. False, with nothing stored, for a plain value, which is one pattern.
bool SplitNames(LPCWSTR value, CString& name, CString& newName);

// The pattern that the removal pass deletes for a record of that kind: its installed name, without the
// comment.
CString RemovalPattern(LPCWSTR line, LPCWSTR prefix);
