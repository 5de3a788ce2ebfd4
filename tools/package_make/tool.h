// package_make FOLDER PACKAGE [--recipe FILE] [--earlier PACKAGE] [--setup FILE] [--own FOLDER...]
//
// Makes the folder PACKAGE into a package that installs what FOLDER holds, checks it, and ends with 0, with 1
// when the check has findings, or with 2 when there is nothing to make a package of: PACKAGE is then as it
// was. docs/releasing.md tells more.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <vector>

#include "package_make/source_folder.h"

namespace package_make {

inline constexpr int kMisused = 2;

struct Request {
    std::filesystem::path folder;
    std::filesystem::path package;
    std::filesystem::path recipe;  // empty for none, as the next
    std::filesystem::path earlier;
    std::filesystem::path setup;
    std::vector<std::filesystem::path> own;
};
// The arguments, the program's name first. None, with a line on how to use it, when they don't fit. Without
// --setup the program is the setup.exe that lies beside `self`.
std::optional<Request> ReadArguments(const std::vector<std::filesystem::path>& arguments,
                                     const std::filesystem::path& self);

// Makes a path of the user's one of the running system, under a name that is free there, and returns the
// latter.
using Reach = std::function<CString(const std::filesystem::path& path, const char* name)>;

// Does it all, prints what came of it, and returns the exit code.
int RunTool(const Request& request, const Reach& reach);

}  // namespace package_make
