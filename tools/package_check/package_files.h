// The files that a package holds.
#pragma once

#include <set>
#include <unordered_map>

#include "package_check/package_check.h"
#include "package_check/text.h"

namespace package_check {

class PackageFiles {
  public:
    // Looks through the folder and all below it. A folder that can't be looked into becomes a finding.
    PackageFiles(const CString& folder, std::vector<Finding>& findings);

    struct Match {
        CString name;
        bool isFolder;
    };
    // What a record's name or pattern, relative to the package, finds there by the names as they are: no
    // short name counts, whatever drive the package lies on. "." and ".." are left out.
    std::vector<Match> Find(const CString& pattern) const;
    // The names in a folder of the package, in upper case; none when there is no such folder.
    std::vector<Wide> NamesIn(const CString& folder) const;

    // A record names the file, given by its full path.
    void MarkNamed(const CString& path);

    // The files, relative to the folder, that neither a record names nor setup itself looks for in a package.
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
