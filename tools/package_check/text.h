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

// The text of characters that are each one byte of UTF-8. Empty if they are not UTF-8, and if all are ASCII.
CString DecodedUtf8(const CString& characters);

// The full path by the system's rules, as text. Empty if the system has none.
CString FullPath(const CString& path);

// A text that is the same for every spelling of a path.
Wide Key(const CString& path);

bool HasWildcard(const CString& name);

// The path without its last part; empty if it has only one part.
CString FolderOf(const CString& path);
CString NameOf(const CString& path);

}  // namespace package_check
