// Checks a package folder. docs/manifest.md explains the findings.
#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

namespace package_check {

enum class Format { Text, Json, Sarif };

// Indices of arguments; 0 for none.
struct Request {
    std::size_t folder = 0;
    std::size_t recipe = 0;
    std::size_t base = 0;
    Format format = Format::Text;
};
// Reads the arguments; the first is the name of the program. If they are wrong, prints how to use the program and
// returns none.
std::optional<Request> ReadArguments(const std::vector<std::string>& arguments);

// Checks the folder of the running system and prints the findings. `recipe` is the path of the recipe there, or null.
// The arguments name the folders and files in the output. Returns the exit code.
int RunTool(const Request& request, const std::vector<std::string>& arguments, LPCWSTR folder,
            LPCWSTR recipe);

inline constexpr int kMisused = 2;

inline constexpr char kHelp[] =
    R"(usage: package_check [--json | --sarif [--sarif-base FOLDER]] [--recipe FILE] PACKAGE

Checks the package in a folder, and prints for each finding the line, what would happen, and what to write instead.

  --json               prints the findings as JSON
  --sarif              prints them as SARIF, for build servers
  --sarif-base FOLDER  the folder to which the paths in SARIF are relative
  --recipe FILE        the recipe that package_make used: findings about its records name the line of the recipe

The exit code is 0 if there are no findings, 1 if there are some, and 2 if something can't be read.
)";

}  // namespace package_check
