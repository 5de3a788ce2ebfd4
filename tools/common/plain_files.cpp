#include "common/plain_files.h"

#include <stdexcept>

#include "common/text.h"

namespace fs = std::filesystem;

namespace tools {

namespace {

[[noreturn]] void Refuse(const fs::path& path, const char* what) {
    const std::u8string bytes = path.u8string();
    throw std::runtime_error(Shown({bytes.begin(), bytes.end()}) + what);
}

}  // namespace

void RequirePlainFile(const fs::path& path) {
    if (fs::exists(path) && !fs::is_regular_file(path)) Refuse(path, " is no plain file");
}

void RequirePlainFiles(const fs::path& folder) {
    if (!fs::is_directory(folder)) return;
    // Whoever reads a folder tells of one that can't be read.
    for (const auto& entry :
         fs::recursive_directory_iterator(folder, fs::directory_options::skip_permission_denied))
        if (!entry.is_regular_file() && (entry.is_symlink() || !entry.is_directory()))
            Refuse(entry.path(), " is no plain file or folder");
}

}  // namespace tools
