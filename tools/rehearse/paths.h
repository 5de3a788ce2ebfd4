// Paths as text in UTF-8.
#pragma once

#include <algorithm>
#include <string>

namespace rehearse {

// Returns the path up to its last backslash. Empty without one.
inline std::string FolderOf(const std::string& path) {
    return path.substr(0, path.rfind('\\') + 1);
}

// Returns one text for all spellings of a path that differ only in the case of letters of ASCII: in upper case.
inline std::string Folded(std::string path) {
    std::transform(path.begin(), path.end(), path.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 0x20) : c; });
    return path;
}

}  // namespace rehearse
