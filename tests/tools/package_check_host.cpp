// The program package_check itself, run from the host's shell.
#include <sys/xattr.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "common/throwaway_folder.h"
#include "harness/scratch.h"

namespace fs = std::filesystem;

namespace {

// A drive of Windows has its short names already. The check must not store any with the files of a maker.
TEST(PackageCheckProgram, WritesNothingToThePackage) {
    const tools::ThrowawayFolder folder("checks", QTV_BUILD_FOLDER);
    const fs::path package = folder.Path() / "package", outside = folder.Path() / "a long name outside.txt";
    fs::copy(QTV_BUILD_FOLDER "/package", package, fs::copy_options::recursive);
    std::ofstream(outside) << "content";
    fs::create_symlink(outside, package / "a long name inside.txt");
    std::ofstream(package / "QtvUnInst.log", std::ios::app)
        << "File Copy: a long name inside.txt\r\nFile Copy: alongn~1.txt > b.txt\r\n";
    const char* const tools = std::getenv("QTV_TOOLS");
    (void)std::system((std::string(tools ? tools : QTV_BUILD_FOLDER) + "/package_check " + package.string() +
                       " >" + (folder.Path() / "said").string())
                          .c_str());
    EXPECT_NE(BuildBytes((folder.Path() / "said").string()), "");
    for (const auto& entry : fs::recursive_directory_iterator(folder.Path()))
        EXPECT_EQ(listxattr(entry.path().c_str(), nullptr, 0), 0) << entry.path();
}

}  // namespace
