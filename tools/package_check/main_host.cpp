// The package is in a plain folder of the host. So the check makes a machine for this run, with that folder in it.
#include <cstdio>
#include <exception>
#include <filesystem>

#include "package_check/tool.h"
#include "common/help.h"
#include "common/plain_files.h"
#include "common/throwaway_folder.h"
#include <winhost.h>

namespace fs = std::filesystem;

namespace {

int Check(const package_check::Request& request, const std::vector<std::string>& arguments) {
    tools::RequirePlainFiles(arguments[request.folder]);
    if (request.recipe) tools::RequirePlainFile(arguments[request.recipe]);
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
    if (tools::TellsOfItself({arguments.begin(), arguments.end()}, package_check::kHelp)) return 0;
    const auto request = package_check::ReadArguments(arguments);
    if (!request) return package_check::kMisused;
    try {
        return Check(*request, arguments);
    } catch (const std::exception& error) {
        tools::PrintFailure("package_check", error);
        return package_check::kMisused;
    }
}
