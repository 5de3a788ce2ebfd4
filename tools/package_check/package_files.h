// The files in a package.
#pragma once

#include <set>
#include <unordered_map>
#include <vector>

#include "package_check/finding.h"
#include "package_check/package_paths.h"

namespace package_check {

class PackageFiles {
  public:
    // Reads the folder and all folders in it. A folder that can't be read becomes a finding.
    PackageFiles(const CString& folder, std::vector<Finding>& findings);

    struct Match {
        CString name;
        bool isFolder;
    };
    // Returns what the name or pattern of a record, relative to the package, finds by long names only, on any drive.
    // "." and ".." are left out. Throws std::runtime_error for a name that only the system could find and whose level has
    // more than 255 bytes.
    std::vector<Match> Find(const CString& pattern) const;
    // Returns the names in a folder of the package, in upper case. Empty if there is no such folder.
    std::vector<Wide> NamesIn(const CString& folder) const;

    // Notes that a record names this file. The path is a full path.
    void MarkNamed(const CString& path);

    // Returns the files that no record names and that setup itself does not read, relative to the folder.
    std::vector<CString> Unnamed() const;
    bool HasSetup() const { return m_hasSetup; }

  private:
    void TakeFolder(const CString& folder, std::vector<CString>& subFolders, std::vector<Finding>& findings);

    struct Entry {
        CString name;
        bool isFolder = false;
        bool named = false;
    };
    CString m_folder;
    const std::set<Wide>& KeysIn(const CString& folder) const;

    std::unordered_map<Wide, Entry> m_entries;
    std::unordered_map<Wide, std::set<Wide>> m_keys;  // by the key of their folder
    bool m_hasSetup = false;
};

}  // namespace package_check
