// The one text format of manifest and log: records of one line, a prefix and a value.
//
// The file is bytes: byte b is character b, both ways, on every machine. Byte-order marks, comment lines and
// headers have no meaning in it: a line that starts with no known prefix is skipped.
#pragma once

#include <framework.h>

#include <cstdio>

// What the copy pass does with a record.
enum class AtInstall {
    Nothing,
    Copy,           // into the target folder
    CopyX64,        // the same under the 32-bit layer, and in a portable install
    CopyIfMissing,  // the same unless the system finds such a library elsewhere; always in a portable install
    CopyToParent,   // into the parent of the target folder, in a portable install only
    MakeFolder,     // below the target folder
};

// What the uninstall does with a record.
enum class AtRemoval {
    Nothing,
    DeleteFiles,   // in the folder that is cleaned
    RemoveFolder,  // below the folder that is cleaned
    RemoveGroup,   // a folder by its full path, with its empty parents
    DeleteLink,    // a shortcut by its full path
};

struct RecordKind {
    LPCWSTR prefix = TEXT("");
    AtInstall install = AtInstall::Nothing;
    AtRemoval removal = AtRemoval::Nothing;
};

// Prefixes that the program asks for or writes itself.
inline constexpr WCHAR kFileDel[] = TEXT("File Del: ");
inline constexpr WCHAR kMadeDir[] = TEXT("Made Dir: ");
inline constexpr WCHAR kShellLink[] = TEXT("Shell Link: ");

// No prefix is the beginning of another one, so the order decides nothing.
inline constexpr RecordKind kRecordKinds[] = {
    {TEXT("File Copy: "), AtInstall::Copy, AtRemoval::DeleteFiles},
    {TEXT("File Copy x64: "), AtInstall::CopyX64, AtRemoval::DeleteFiles},
    {TEXT("File Copy ind: "), AtInstall::CopyIfMissing, AtRemoval::DeleteFiles},
    {TEXT("File Copy prt: "), AtInstall::CopyToParent, AtRemoval::DeleteFiles},
    {TEXT("File Overwrite: "), AtInstall::Nothing, AtRemoval::DeleteFiles},
    {kFileDel, AtInstall::Nothing, AtRemoval::DeleteFiles},
    {TEXT("Make Dir: "), AtInstall::MakeFolder, AtRemoval::RemoveFolder},
    {kMadeDir, AtInstall::Nothing, AtRemoval::RemoveGroup},
    {kShellLink, AtInstall::Nothing, AtRemoval::DeleteLink},
};

// A line taken apart. One that is no record has a null value and a kind that has no effect.
struct LogRecord {
    RecordKind kind;
    LPCWSTR value = nullptr;  // the rest of the line, after the prefix
};

// Starts a comment where comments are allowed.
inline constexpr WCHAR kComment[] = TEXT(" | ");

// The line buffer: a read takes at most 511 characters, and a longer line arrives in pieces.
inline constexpr int kLineChars = 512;

// Reads one line and trims every character up to 0x20 from its right end, but never the character at index 0.
// False at the end of the file. Allocates nothing.
bool ReadLogLine(WCHAR (&line)[kLineChars], FILE* file);

// Finds the kind of a line by its prefix, which must stand at the start of the line, exactly and in the same
// case. The value points into the line. Allocates nothing.
LogRecord ReadRecord(LPCWSTR line);

// Reads the file from its present place to its end, and calls `body` with each line's record.
template <class Body>
void ForEachRecord(FILE* file, Body body) {
    WCHAR line[kLineChars];
    while (ReadLogLine(line, file))
        body(ReadRecord(line));
}

// Splits a value of two names at its first '>': the name in the package, and the name in the target folder. The blanks
// around the sign are removed. False, with nothing stored, for a plain value, which is one pattern.
bool SplitNames(LPCWSTR value, CString& name, CString& newName);

// The pattern that the removal pass deletes for a record with that value: the installed name, without the comment.
CString RemovalPattern(LPCWSTR value);
