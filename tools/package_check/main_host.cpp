// The package is in a plain folder of the host. So the check makes a machine for this run, with that folder in it.
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <stdexcept>

#include "package_check/tool.h"
#include "common/throwaway_folder.h"
#include <winhost.h>

namespace fs = std::filesystem;

namespace {

// Pipes and devices have no end, and neither has a folder with links to itself.
void RefuseWhatIsNotPlain(const fs::path& folder) {
    // The check itself tells of a folder that it can't read.
    for (const auto& entry :
         fs::recursive_directory_iterator(folder, fs::directory_options::skip_permission_denied))
        if (!entry.is_regular_file() && (entry.is_symlink() || !entry.is_directory()))
            throw std::runtime_error(entry.path().string() + " is no plain file or folder");
}

int Check(const package_check::Request& request, const std::vector<std::string>& arguments) {
    if (fs::is_directory(arguments[request.folder])) RefuseWhatIsNotPlain(arguments[request.folder]);
    const tools::ThrowawayFolder machine("package_check");
    winhost::CreateMachine(machine.Path());
    // These are links: package and recipe are read where they are.
    fs::create_directory_symlink(fs::absolute(arguments[request.folder]), machine.Path() / "C/Package");
    if (request.recipe)
        fs::create_symlink(fs::absolute(arguments[request.recipe]), machine.Path() / "C/recipe");
    winhost::EnterMachine(machine.Path());
    // It would store them with the files of the package.
    winhost::SetHasShortNames(false);
    return package_check::RunTool(request, arguments, TEXT("C:\\Package"),
                                  request.recipe ? TEXT("C:\\recipe") : nullptr);
}

}  // namespace

int main(int count, char** values) {
    const std::vector<std::string> arguments(values, values + count);
    const auto request = package_check::ReadArguments(arguments);
    if (!request) return package_check::kMisused;
    // The machine aborts at what it can't do, such as a name that the host can't store, after it has said so in a line.
    (void)std::signal(SIGABRT, [](int) { _exit(package_check::kMisused); });
    try {
        return Check(*request, arguments);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "package_check: %s\n", error.what());
        return package_check::kMisused;
    }
}
