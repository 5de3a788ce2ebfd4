// A package lies in a plain folder of the host, so the check runs in a machine of its own, made for this run,
// with that folder in it.
#include <cstdio>
#include <exception>
#include <filesystem>

#include "package_check/tool.h"
#include "common/throwaway_folder.h"
#include "winhost.h"

namespace fs = std::filesystem;

namespace {

int Check(const std::string& folder, bool json) {
    const fs::path package = fs::absolute(folder);
    const tools::ThrowawayFolder machine("package_check");
    winhost::CreateMachine(machine.Path());
    // A link to the folder: it is read where it lies.
    fs::create_directory_symlink(package, machine.Path() / "C/Package");
    winhost::EnterMachine(machine.Path());
    return package_check::RunTool(TEXT("C:\\Package"), folder, json);
}

}  // namespace

int main(int count, char** values) {
    const std::vector<std::string> arguments(values, values + count);
    const auto request = package_check::ReadArguments(arguments);
    if (!request) return package_check::kMisused;
    try {
        return Check(arguments[request->folder], request->json);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "package_check: %s\n", error.what());
        return package_check::kMisused;
    }
}
