// Tells which files of a package its manifest copies, and to which paths. It looks only at names. Paths are UTF-8.
#pragma once

#include <algorithm>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include <framework.h>

namespace tools {

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

// Whether the last part of a path matches a pattern of setup, in any case of letters.
bool MatchesPattern(const std::string& pattern, const std::string& path);

class CopiedFiles {
  public:
    struct Copy {
        std::string target, source;
    };

    // Adds a file of the package, by its path below the package's folder.
    void AddFile(const std::string& name);
    // Carries out a copy record. `folder` is put before the names of the targets: empty, or with a backslash at its end.
    // A later record replaces what an earlier one has copied. Returns false if the record names one file, by no pattern,
    // and the package doesn't have it.
    bool Take(const CString& value, const std::string& folder);

    // By the folded target.
    const std::map<std::string, Copy>& All() const { return m_copies; }

  private:
    std::unordered_map<std::string, std::map<std::string, std::string>> m_files;  // by folded folder and name
    std::map<std::string, Copy> m_copies;
};

}  // namespace tools
