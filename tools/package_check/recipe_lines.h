// Findings of a manifest that was made from a recipe: a mistake in a record is corrected where it was written.
#pragma once

#include "package_check/package_check.h"
#include "package_check/package_paths.h"

namespace package_check {

// Reads the lines of a file of the running system as setup reads them. A line that is longer than one read counts as
// several. Returns false when there is no such file.
bool ReadLines(const CString& path, std::vector<CString>& lines);

// If the recipe also has a line of the manifest, its findings name the recipe's file and line instead. `recipe` has the
// lines of the recipe as setup reads them, and `shown` is the recipe's name.
void NameRecipe(std::vector<Finding>& findings, const std::vector<CString>& manifest,
                const std::vector<CString>& recipe, const std::string& shown);

}  // namespace package_check
