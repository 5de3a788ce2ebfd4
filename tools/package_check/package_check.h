// Reads a package folder as setup does, and reports what setup would skip without a message.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "package_check/finding.h"

namespace package_check {

// Checks the package in a folder of the running system, and changes nothing in it. The findings of the manifest
// come first, ordered by line. A file that can't be read is a finding too; if it is the manifest, the check ends.
// Uses the program's variable g_version.
std::vector<Finding> CheckPackage(LPCWSTR folder);

// 0 if there are no findings, or only notes, 2 if something can't be read, otherwise 1.
int ExitCode(const std::vector<Finding>& findings);

// The findings as text for a person, with a summary in the last line, and as JSON for a program. `folder` is the
// name of the package in the output.
std::string ToText(const std::vector<Finding>& findings, const std::string& folder);
std::string ToJson(const std::vector<Finding>& findings, const std::string& folder);

}  // namespace package_check
