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

// The text that the characters are, when each is one byte of UTF-8. Empty when they aren't, and when all are
// ASCII.
CString DecodedUtf8(const CString& characters);

// The full path by the system's rules, as text. Empty when the system has none for it.
CString FullPath(const CString& path);

// The same for every spelling of a path.
Wide Key(const CString& path);

bool HasWildcard(const CString& name);

// The text less its last component; empty when it has only one.
CString FolderOf(const CString& path);
CString NameOf(const CString& path);

}  // namespace package_check
