// Text and paths of the package check.
#pragma once

#include <framework.h>

#include <string>

namespace package_check {

using Wide = CString::Store;

std::string Utf8(const CString& text);

// The text that the characters are, when each is one byte of UTF-8. Empty when they aren't, or are ASCII
// alone.
CString DecodedUtf8(const CString& bytes);

// The full path by the system's rules, as text. Empty when the system has none for it.
CString FullPath(const CString& path);

// The same for every spelling of a path.
Wide Key(const CString& path);

bool HasWildcard(const CString& name);

// The text less its last component; empty when it has only one.
CString FolderOf(const CString& path);
CString NameOf(const CString& path);

}  // namespace package_check
