// Text and paths of the package check.
#pragma once

#include <framework.h>

#include <string>

#include "common/text.h"

namespace package_check {

using Wide = CString::Store;

inline std::string Utf8(const CString& text) {
    return tools::Utf8(text.Text());
}

// How a finding names another line.
inline std::string Line(unsigned number) {
    return "line " + std::to_string(number);
}

// Decodes characters that are each one byte of UTF-8. Empty if they are not UTF-8, or if all are ASCII.
CString DecodedUtf8(const CString& characters);

// Returns the full path by the system's rules. Empty if the system has none.
CString FullPath(const CString& path);

// Returns a text that is the same for all spellings of a path.
Wide Key(const CString& path);

bool HasWildcard(const CString& name);

// Returns the path without its last part. Empty if it has only one part.
CString FolderOf(const CString& path);
CString NameOf(const CString& path);

}  // namespace package_check
