// The files of the package, other than the manifest, that setup itself reads.
#pragma once

#include "package_check/package_files.h"

namespace package_check {

// Checks application, agreement and home page, and that there is a setup program.
void CheckOtherFiles(const CString& package, const PackageFiles& files, std::vector<Finding>& findings);

}  // namespace package_check
