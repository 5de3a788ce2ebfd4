// package_check [--json | --sarif [--sarif-base FOLDER]] [--recipe FILE] PACKAGE
//
// Checks a package folder, prints the findings, and ends with 0 when there are none, 1 when there are some,
// or 2 when something couldn't be read. With the recipe that package_make made the package by, findings about
// its records name the recipe's line.
#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

namespace package_check {

enum class Format { Text, Json, Sarif };

// Places among the arguments; 0 for none.
struct Request {
    std::size_t folder = 0;
    std::size_t recipe = 0;
    std::size_t base = 0;
    Format format = Format::Text;
};
// Reads the arguments; the first is the name of the program. If they are wrong, prints how to use the program and
// returns none.
std::optional<Request> ReadArguments(const std::vector<std::string>& arguments);

// Checks the folder of the running system by the recipe there (null for none), and prints. The arguments name
// the folders and files for the reader. Returns the exit code.
int RunTool(const Request& request, const std::vector<std::string>& arguments, LPCWSTR folder,
            LPCWSTR recipe);

inline constexpr int kMisused = 2;

}  // namespace package_check
