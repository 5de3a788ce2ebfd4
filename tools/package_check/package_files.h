// The files that a package holds.
#pragma once

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
    // What a record's name or pattern, relative to the package, finds there; "." and ".." are left out.
    std::vector<Match> Find(const CString& pattern) const;

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
    std::unordered_map<Wide, Entry> m_entries;
    bool m_hasSetup = false;
};

}  // namespace package_check
