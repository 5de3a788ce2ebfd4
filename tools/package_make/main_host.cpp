// The folders are on the host. The manifest is read on a machine made for this run, which has links to them.
#include <cstdio>
#include <exception>

#include "package_make/tool.h"
#include "common/help.h"
#include "common/installed.h"
#include "common/throwaway_folder.h"
#include <winhost.h>

namespace fs = std::filesystem;

bool package_make::IsLink(const fs::path& path) {
    return fs::is_symlink(fs::symlink_status(path));
}

int main(int count, char** values) {
    const std::vector<fs::path> arguments(values, values + count);
    if (tools::TellsOfItself(arguments, package_make::kHelp)) return 0;
    try {
        const auto home = tools::InstalledHome();
        const auto request = package_make::ReadArguments(
            arguments, (home ? *home / "windows" : tools::OwnFolder()) / "setup.exe");
        if (!request) return package_make::kMisused;
        const tools::ThrowawayFolder machine("package_make");
        winhost::CreateMachine(machine.Path());
        winhost::EnterMachine(machine.Path());
        // It would store them with the files of the packages.
        winhost::SetHasShortNames(false);
        return package_make::RunTool(*request, [&](const fs::path& path, const char* name) {
            fs::create_symlink(path, machine.Path() / "C" / name);
            const std::string shown = std::string("C:\\") + name;
            return CString(winhost::Utf16(shown));
        });
    } catch (const std::exception& error) {
        tools::PrintFailure("package_make", error);
        return package_make::kMisused;
    }
}
