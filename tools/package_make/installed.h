// What a package leaves in the installation folder, according to its manifest and its files.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "package_check/package_files.h"

namespace package_make {

using package_check::Wide;

// Names below the installation folder, by their folded form.
using Names = std::map<Wide, CString>;

struct Installed {
    Names always;                   // files on every machine
    Names sometimes;                // files on some machines or in a portable installation
    Names parent;                   // files that a portable installation puts into the parent folder
    Names folders;                  // made by copying or by a record
    Names overwritten;              // files that the application creates
    std::vector<CString> removals;  // the lines of the "File Del: " records

    bool Has(const Wide& file) const { return always.contains(file) || sometimes.contains(file); }
};

// Reads what a package installs. `files` are those of the package, `lines` those of its manifest.
// Records that setup skips, and names that lead out of the folder, add nothing.
Installed ReadInstalled(const package_check::PackageFiles& files, const std::vector<CString>& lines);

// Removes the files of the earlier package that the present one doesn't install.
struct Update {
    std::vector<CString> records;    // lines for the manifest
    std::vector<std::string> stays;  // sentences about what an update doesn't remove
};
// Compares what the two packages install. With `makeDirs`, folders that become empty get records instead of a sentence, unless
// their name is that of a file now.
Update UpdateFrom(const Installed& earlier, const Installed& present, bool makeDirs);

}  // namespace package_make
