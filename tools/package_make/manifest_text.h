// Makes the manifest: records for the files, and the records of the recipe.
#pragma once

#include <vector>

#include "engine/manifest.h"
#include "package_check/package_files.h"
#include "package_make/source_folder.h"

namespace package_make {

struct ManifestInput {
    std::vector<Entry> entries;   // of the source folder, sorted
    std::vector<CString> own;     // folders to which only the product writes
    std::vector<CString> recipe;  // lines, which go into the manifest as they are
};

// Returns the prefix of the first kind of record that does this at the installation.
CString Prefix(AtInstall install);

// Returns the lines of the manifest, without those for an earlier version. First come the application, the uninstaller
// and the other files, each in its own record unless a record of the recipe copies it. Then come the folders that no
// such record makes, the recipe, and the folders in an order in which the removal can empty them. `files` are those of
// the package, whose folder on the running system is `package`. Throws BadInput if an own folder doesn't exist or no
// pattern can name it.
std::vector<CString> DeriveManifest(const ManifestInput& input, const CString& package,
                                    const package_check::PackageFiles& files);

}  // namespace package_make
