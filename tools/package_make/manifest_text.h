// The manifest: records that the files tell, and those of the recipe.
#pragma once

#include <vector>

#include "package_check/package_files.h"
#include "package_make/source_folder.h"

namespace package_make {

struct ManifestInput {
    std::vector<Entry> entries;   // of the source folder, sorted
    std::vector<CString> own;     // folders that the product alone writes to
    std::vector<CString> recipe;  // lines, which go into the manifest as they are
};

// The lines of the manifest, but for what an earlier version needs: the application, the uninstaller and the
// other files, each with a record of its own, unless a record of the recipe copies it; the folders that no
// such record makes; the recipe; the folders in an order that the removal empties. `files` are those of the
// package, whose folder on the running system is `package`. Throws BadInput when an own folder is none, or
// can't be named by a pattern.
std::vector<CString> DeriveManifest(const ManifestInput& input, const CString& package,
                                    const package_check::PackageFiles& files);

}  // namespace package_make
