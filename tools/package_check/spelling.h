// Records that setup does not read as their author means them.
#pragma once

#include <string>
#include <vector>

#include "engine/manifest.h"

namespace package_check {

enum class Job { Copy, Remove, Folder, Setup };
Job JobOf(const RecordKind& kind);

// The advice for an encoding in which a character can have several bytes.
inline constexpr char kSaveAs[] = "The file saved as plain ASCII text, without a byte-order mark.";

// A byte-order mark of UTF-8 at the start, as its three bytes are read.
bool StartsWithMark(LPCWSTR text);

struct Mending {
    const char* id;
    const char* happens;
    std::string instead;
};

// A record as its author means it.
struct Record {
    const RecordKind* kind = nullptr;  // null: the line is not a record, and not meant as one
    CString written;                   // the line as setup reads it
    CString line;                      // corrected: with the prefix and, if allowed, the comment
    std::vector<Mending> mendings;
    bool asWritten() const { return mendings.empty(); }
    CString Value() const { return line.Mid(static_cast<int>(wcslen(kind->prefix))); }
};

// Reads a line as its author means it, and corrects its mistakes one by one.
Record MendedRecord(LPCWSTR line);

}  // namespace package_check
