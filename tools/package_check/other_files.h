// The files of the package, other than the manifest, that setup itself reads.
#pragma once

#include "package_check/package_files.h"

namespace package_check {

// Checks the application, the agreement and the home page, and whether there is a setup program.
void CheckOtherFiles(const CString& package, const PackageFiles& files, std::vector<Finding>& findings);

}  // namespace package_check
