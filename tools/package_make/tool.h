// Makes a package from a folder of files. docs/releasing.md says more.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <vector>

#include "package_make/source_folder.h"

namespace package_make {

inline constexpr int kMisused = 2;

inline constexpr char kHelp[] =
    R"(usage: package_make FOLDER PACKAGE [--recipe FILE] [--earlier PACKAGE] [--same-version] [--make-dirs] [--setup FILE]
           [--own FOLDER]...

Makes a package in the folder PACKAGE that installs what FOLDER contains, and checks it.

  --recipe FILE      adds the records and remarks of FILE to the manifest
  --earlier PACKAGE  the package of the last release: an update removes the files that are gone
  --same-version     takes a version that isn't higher than that of the earlier package
  --make-dirs        an update also removes the folders that it leaves empty
  --setup FILE       the setup program; without it, the one that belongs to this tool
  --own FOLDER       a folder to which only the product writes; it gets one record

The exit code is 0, 1 if the check has findings, and 2 if no package can be made: PACKAGE then stays as it was.
)";

struct Request {
    std::filesystem::path folder;
    std::filesystem::path package;
    std::filesystem::path recipe;  // this and the next are empty if not given
    std::filesystem::path earlier;
    std::filesystem::path setup;
    std::vector<std::filesystem::path> own;
    bool sameVersion = false;  // a version that isn't higher than the earlier one is taken
    bool makeDirs = false;     // folders that an update leaves empty get records
};
// Reads the arguments; the first is the program's name. If they are wrong, prints how to use the program and returns
// none. Without --setup, the setup program is `setup`.
std::optional<Request> ReadArguments(const std::vector<std::filesystem::path>& arguments,
                                     const std::filesystem::path& setup);

// Makes a path of the user reachable on the running system under a free name, and returns that path.
using Reach = std::function<CString(const std::filesystem::path& path, const char* name)>;

// Makes the package, prints the result, and returns the exit code.
int RunTool(const Request& request, const Reach& reach);

}  // namespace package_make
