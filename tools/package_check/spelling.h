// Records that are written so that setup doesn't read them as they are meant.
#pragma once

#include <string>
#include <vector>

#include "engine/manifest.h"

namespace package_check {

enum class Job { Copy, Remove, Folder, Setup };
Job JobOf(const RecordKind& kind);

// What to do about an encoding that isn't one byte a character.
inline constexpr char kSaveAs[] = "The file saved as plain ASCII text, without a byte-order mark.";

// A byte-order mark of UTF-8 at the start, as its three bytes are read.
bool StartsWithMark(LPCWSTR text);

struct Mending {
    const char* id;
    const char* happens;
    std::string instead;
};

// A record as its maker meant it.
struct Record {
    const RecordKind* kind = nullptr;  // null: the line is no record, and not meant as one
    CString written;                   // the line as setup reads it
    CString line;                      // mended: with the prefix and, where it is allowed, the comment
    std::vector<Mending> mendings;
    bool asWritten() const { return mendings.empty(); }
    CString Value() const { return line.Mid(static_cast<int>(wcslen(kind->prefix))); }
};

// Takes a line apart, mending it one trap after the other.
Record MendedRecord(LPCWSTR line);

}  // namespace package_check
