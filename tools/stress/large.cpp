#include "stress/large.h"

#include <fstream>

#include "sweep/scenarios.h"
#include "winhost.h"

namespace fs = std::filesystem;

namespace stress {

namespace {

void Append(const std::u16string& path, const std::string& text) {
    std::ofstream(winhost::HostPath(path), std::ios::binary | std::ios::app) << text;
}

}  // namespace

void PrepareInstalled(const fs::path& root, const fs::path& setup) {
    sweep::Prepare(sweep::ScenarioOf("uninstall"), root, setup, QTV_BUILD_FOLDER);
}

void AddToManifest(const std::string& lines) {
    Append(std::u16string(kPackage) + u"\\QtvUnInst.log", lines);
}

void AddToLog(const std::string& lines) {
    Append(sweep::kLogFile, lines);
}

void MakeFile(const fs::path& path) {
    fs::create_directories(path.parent_path());
    std::ofstream(path) << path.filename();
}

std::set<std::string> NamesBelow(const fs::path& folder) {
    std::set<std::string> names;
    std::error_code none;
    for (const auto& entry : fs::recursive_directory_iterator(folder, none))
        names.insert(entry.path().lexically_relative(folder).native());
    return names;
}

bool Large(const Options& options, std::FILE* report) {
    const bool longPaths = LongPaths(options, report);
    return Growth(options, report) && longPaths;
}

}  // namespace stress
