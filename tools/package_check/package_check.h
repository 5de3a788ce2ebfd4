// Reads a package folder as setup does, and reports what setup would skip without a message.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace package_check {

// One thing to correct. All texts are UTF-8.
struct Finding {
    std::string id;           // does not change between versions; docs/manifest.md explains each
    std::string file;         // relative to the package, with backslashes; empty for the folder itself
    unsigned line = 0;        // of that file, from 1; 0 for the file as a whole
    std::string what;         // the record as setup reads it, or what was found
    std::string happens;      // the result on a customer's machine
    std::string instead;      // how to write it, or what to do
    bool isNote = false;      // a hint: the package works as it is
    bool isInRecipe = false;  // `file` and `line` are those of the recipe
};

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
