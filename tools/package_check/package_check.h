// Reads a package folder as setup will, and tells what setup would pass over in silence.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace package_check {

// One thing to mend. All texts are UTF-8.
struct Finding {
    std::string id;           // stable: docs/manifest.md tells of each
    std::string file;         // relative to the package, with backslashes; empty for the folder itself
    unsigned line = 0;        // of that file, from 1; 0 for the file as a whole
    std::string what;         // the record as setup reads it, or what was found
    std::string happens;      // what comes of it on a customer's machine
    std::string instead;      // how to write it, or what to do
    bool isNote = false;      // a hint: the package works as it is
    bool isInRecipe = false;  // `file` and `line` are those of the recipe
};

// Checks the package in a folder of the running system, and changes nothing in it. The findings of the
// manifest come first, by line. What can't be read is a finding too, and ends the check when it is the
// manifest. Uses the program's variable g_version.
std::vector<Finding> CheckPackage(LPCWSTR folder);

// 0 without findings or with notes only, 2 when something couldn't be read, otherwise 1.
int ExitCode(const std::vector<Finding>& findings);

// The findings for a person, with a summary in the last line, and for a program. `folder` is shown as the
// name of the package.
std::string ToText(const std::vector<Finding>& findings, const std::string& folder);
std::string ToJson(const std::vector<Finding>& findings, const std::string& folder);

}  // namespace package_check
