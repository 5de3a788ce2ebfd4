#include "common/installed.h"

namespace fs = std::filesystem;

namespace tools {

fs::path OwnFolder() {
    return fs::read_symlink("/proc/self/exe").parent_path();
}

std::optional<fs::path> InstalledHome() {
    const fs::path home = OwnFolder().parent_path();
    if (!fs::exists(home / "version")) return std::nullopt;
    return home;
}

}  // namespace tools
