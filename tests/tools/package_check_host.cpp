// The program package_check itself, run from the host's shell.
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>

#include "common/throwaway_folder.h"
#include "harness/scratch.h"

namespace fs = std::filesystem;

namespace {

class PackageCheckProgram : public ::testing::Test {
  protected:
    PackageCheckProgram() { fs::copy(QTV_BUILD_FOLDER "/package", m_package, fs::copy_options::recursive); }

    // Returns the exit code. What the program says is stored in m_said.
    int Run() {
        const char* const tools = std::getenv("QTV_TOOLS");
        const std::string said = m_folder.Path() / "said";
        const int status = std::system((std::string(tools ? tools : QTV_BUILD_FOLDER) + "/package_check " +
                                        m_package.string() + " >" + said + " 2>&1")
                                           .c_str());
        m_said = BuildBytes(said);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    const tools::ThrowawayFolder m_folder{"checks", QTV_BUILD_FOLDER};
    const fs::path m_package = m_folder.Path() / "package";
    std::string m_said;
};

// A drive of Windows has its short names already. The check must not store any with the files of a maker.
TEST_F(PackageCheckProgram, WritesNothingToThePackage) {
    const fs::path outside = m_folder.Path() / "a long name outside.txt";
    std::ofstream(outside) << "content";
    fs::create_symlink(outside, m_package / "a long name inside.txt");
    std::ofstream(m_package / "QtvUnInst.log", std::ios::app) << "File Copy: a long name inside.txt\r\n";
    EXPECT_EQ(Run(), 0) << m_said;
    fs::permissions(m_package / "QtvUnInst.log", fs::perms::owner_read);
    EXPECT_EQ(Run(), 1);
    EXPECT_NE(m_said.find("manifest-read-only"), std::string::npos) << m_said;
    for (const auto& entry : fs::recursive_directory_iterator(m_folder.Path()))
        EXPECT_EQ(listxattr(entry.path().c_str(), nullptr, 0), 0) << entry.path();
}

TEST_F(PackageCheckProgram, RefusesWhatHasNoEnd) {
    const std::pair<std::function<void(const fs::path&)>, const char*> rows[] = {
        {[](const fs::path& place) { (void)mkfifo(place.c_str(), 0666); }, "QtvUnInst.log"},
        {[](const fs::path& place) { (void)mkfifo(place.c_str(), 0666); }, "Samples/pipe"},
        {[](const fs::path& place) { fs::create_symlink("/dev/zero", place); }, "agreement.txt"},
        {[](const fs::path& place) { fs::create_symlink(".", place); }, "self"},
    };
    for (const auto& [make, name] : rows) {
        const fs::path place = m_package / name, kept = m_folder.Path() / "kept";
        if (fs::exists(place)) fs::rename(place, kept);
        make(place);
        EXPECT_EQ(Run(), 2) << name;
        EXPECT_EQ(m_said, "package_check: " + place.string() + " is no plain file or folder\n");
        fs::remove(place);
        if (fs::exists(kept)) fs::rename(kept, place);
    }
    std::ofstream(m_package / "conin$") << "content";
    EXPECT_EQ(Run(), 1);
    EXPECT_NE(m_said.find("Another name: this one is kept for a device."), m_said.npos) << m_said;
    std::ofstream(m_package / "QtvUnInst.log", std::ios::app)
        << "File Copy: " + std::string(200, '\xE4') + "\r\n";
    EXPECT_EQ(Run(), 2);
    EXPECT_NE(m_said.find("a name that the host can't store"), m_said.npos) << m_said;
}

}  // namespace
