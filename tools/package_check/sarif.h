// The findings in the format of code hosts and build servers: SARIF 2.1.0.
#pragma once

#include "package_check/package_check.h"

namespace package_check {

// Where the files of the findings are. The paths are UTF-8, absolute or relative to the current folder.
struct Places {
    std::string package;
    std::string recipe;
    std::string base;  // paths below it are written relative to it, others as addresses of files
};

// Returns the findings as a SARIF file.
std::string ToSarif(const std::vector<Finding>& findings, const Places& places);

}  // namespace package_check
