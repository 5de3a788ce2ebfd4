// A manifest that was made by a recipe: what is wrong with a record is mended where it was written.
#pragma once

#include "package_check/package_check.h"
#include "package_check/text.h"

namespace package_check {

// The lines of a manifest as setup reads them, read from the running system. False when there is no such
// file. A line that is longer than one read counts as several.
bool ReadLines(const CString& path, std::vector<CString>& lines);

// Lets the findings about lines of the manifest that the recipe holds as well name the recipe's file and line
// instead. `recipe` is its lines as setup reads them, `shown` its name.
void NameRecipe(std::vector<Finding>& findings, const std::vector<CString>& manifest,
                const std::vector<CString>& recipe, const std::string& shown);

}  // namespace package_check
