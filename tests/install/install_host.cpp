// What only the embedded machine can be made to do, or tells of, in an install.
#include <shlobj.h>

#include "app/setup_state.h"
#include "install/earlier_install.h"
#include "install/install_action.h"
#include "install/shell_links.h"
#include "harness/registry_values.h"
#include "support/shell_folders.h"
#include "winhost.h"

namespace {

class InstallOnHost : public ScratchTest {
  protected:
    InstallOnHost() { g_targetDir = kScratch.c_str(); }
    ~InstallOnHost() override { winhost::SetFaults({}); }
    // Style and answer of each box so far.
    static std::vector<std::string> Boxes() {
        std::vector<std::string> boxes;
        for (const std::string& event : winhost::Events())
            if (event.starts_with("message-box\t"))
                boxes.push_back(event.substr(event.rfind('\t', event.rfind('\t') - 1) + 1));
        return boxes;
    }
};

TEST_F(InstallOnHost, ALinkIsSavedWithoutWhatTheShellRefuses) {
    winhost::ClearEvents();
    winhost::SetFaults({{.call = "IShellLinkW::SetPath", .nth = 1, .error = 0, .kill = false},
                        {.call = "IShellLinkW::SetDescription", .nth = 2, .error = 0, .kill = false}});
    const BoxAnswers answers({IDOK, IDOK});
    for (int link = 0; link < 2; ++link)
        EXPECT_EQ(MakeShellLink(TEXT("C:\\x.exe"), TEXT("C:\\Scratch\\x.lnk"), TEXT(""), kDefaultShowCommand,
                                nullptr, nullptr),
                  S_OK);
    EXPECT_EQ(answers.Shown().at(0).text, TEXT("SetPath failed!"));
    EXPECT_EQ(answers.Shown().at(1).text, TEXT("SetDescription failed!"));
    EXPECT_EQ(Boxes(), std::vector<std::string>(2, "0\t1"));
    EXPECT_LE(winhost::CallCounts()["CoInitialize"], 1u) << "once a process";
}

TEST_F(InstallOnHost, VersionQuestionsAreOfYesAndNo) {
    g_silentMode = 0;
    g_sourceDir = TEXT("C:\\Scratch\\package");
    winhost::ClearEvents();
    for (const unsigned minor : {5u, 6u}) {
        for (const auto& [folder, own] : {std::pair{g_sourceDir, 5u}, std::pair{g_targetDir, minor}}) {
            ImportFile(QTV_BUILD_FOLDER "/package/QtvApp8.exe", folder.Text() + TEXT("\\QtvApp8.exe"));
            SetFileVersion(folder.Text() + TEXT("\\QtvApp8.exe"), 8, own, 0, 0);
        }
        const BoxAnswers answers({IDYES});
        EXPECT_TRUE(AgreeToReplaceVersion());
        EXPECT_EQ(g_upgradeOlder, 0);
    }
    EXPECT_EQ(Boxes(), std::vector<std::string>(2, "36\t6"));
}

TEST_F(InstallOnHost, TriesWhetherTheCommonStartupFolderTakesFiles) {
    winhost::SetFaults({});
    TakeUpAutoStart();
    EXPECT_EQ(winhost::CallCounts()["GetTempFileNameW"], 1u);
}

// A path of three characters or fewer is no common programs folder.
TEST_F(InstallOnHost, IsForTheCurrentUserWithoutCommonPrograms) {
    const Text key = TEXT("SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders");
    const StoredValue before = GetValue(HKEY_LOCAL_MACHINE, key, TEXT("Common Programs")).value();
    const struct {
        LPCWSTR programs, stored;
        int type, desktop;
    } rows[] = {
        {.programs = TEXT("X:\\"), .stored = TEXT("A"), .type = 0, .desktop = CSIDL_DESKTOP},
        {.programs = TEXT("X:\\a"), .stored = TEXT("B"), .type = 1, .desktop = CSIDL_COMMON_DESKTOPDIRECTORY},
    };
    g_sourceDir = TEXT("C:\\Scratch\\package");
    g_groupName = TEXT("Qantivo");
    for (const auto& row : rows) {
        PutValue(HKEY_LOCAL_MACHINE, key, TEXT("Common Programs"), Sz(row.programs));
        g_installType = 1;
        PerformInstall();
        EXPECT_EQ(g_installType, row.type);
        EXPECT_EQ(GetValue(HKEY_LOCAL_MACHINE, kProductKey, TEXT("AllUsers")), Sz(row.stored));
        EXPECT_TRUE(Exists(GetShellFolder(row.desktop).Text() + TEXT("\\Qantivo 8.lnk")));
        EXPECT_EQ(Exists(GetShellFolder(CSIDL_PROGRAMS).Text() + TEXT("\\Qantivo\\Qantivo 8.lnk")),
                  row.type == 0);
    }
    PutValue(HKEY_LOCAL_MACHINE, key, TEXT("Common Programs"), before);
}

}  // namespace
