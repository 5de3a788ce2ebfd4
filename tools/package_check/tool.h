// package_check [--json] FOLDER
//
// Checks a package folder, prints the findings, and ends with 0 when there are none, 1 when there are some,
// or 2 when something couldn't be read.
#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

namespace package_check {

struct Request {
    std::size_t folder;  // its place among the arguments
    bool json;
};
// The arguments, the program's name first. None, with a line on how to use it, when they don't fit.
std::optional<Request> ReadArguments(const std::vector<std::string>& arguments);

// Checks the folder of the running system, and prints. `shown` is its name for the reader. Gives the exit
// code.
int RunTool(LPCWSTR folder, const std::string& shown, bool json);

inline constexpr int kMisused = 2;

}  // namespace package_check
