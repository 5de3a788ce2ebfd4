// Where the tools find what belongs to them, if they are installed. Host only.
#pragma once

#include <filesystem>
#include <optional>

namespace tools {

// Returns the folder of this program.
std::filesystem::path OwnFolder();

// Returns the folder of an installation, none if this program runs where it was built. The installation has a file "version",
// the programs of the host in "host", those of Windows in "windows", and "scripts". scripts/lib.sh tells it by the same file.
std::optional<std::filesystem::path> InstalledHome();

}  // namespace tools
