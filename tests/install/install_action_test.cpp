#include "install/install_action.h"

#include <shlobj.h>

#include "app/setup_state.h"
#include "support/registry_values.h"
#include "support/shell_folders.h"

namespace {

std::string Bytes(const Text& text) {
    return {text.begin(), text.end()};
}

Text Folder(int number) {
    return GetShellFolder(number).Text();
}

class InstallAction : public ScratchTest {
  protected:
    InstallAction() {
        g_sourceDir = TEXT("C:\\Scratch\\package");
        g_targetDir = TEXT("C:\\Scratch\\in");
        g_groupName = TEXT("Qantivo 8");
        MakeFile(TEXT("C:\\Scratch\\package\\QtvApp8Man.chm"), "help");
        MakeFile(TEXT("C:\\Scratch\\package\\QtvUnInst.log"), kManifest);
        MakeFolder(TEXT("C:\\Scratch\\in"));
    }
    // What the log holds behind the manifest and the empty line.
    std::string Tail() const {
        const std::string log = FileBytes(kLog).value_or("");
        const std::string start = kManifest + "\r\n";
        EXPECT_EQ(log.substr(0, start.size()), start);
        return log.substr(std::min(start.size(), log.size()));
    }
    const std::string kManifest = "File Copy: QtvApp8Man.chm\r\nFile Del: old.hlp";
    const Text kLog = TEXT("C:\\Scratch\\in\\QtvUnInst.log");
};

TEST_F(InstallAction, TrimsAndLevelsTheGroupName) {
    const struct {
        LPCWSTR given, used;
    } rows[] = {
        {TEXT("/Qantivo T//Capture /"), TEXT("Qantivo T\\\\Capture")},
        {TEXT(" \t\r\n\\Qantivo A/ B/c\\ "), TEXT("Qantivo A\\ B\\c")},
    };
    g_installType = 0;
    g_desktopIcon = 0;
    for (const auto& row : rows) {
        g_groupName = row.given;
        PerformInstall();
        EXPECT_EQ(g_groupName, row.used);
        const Text group = Folder(CSIDL_PROGRAMS) + TEXT("\\") + row.used;
        EXPECT_TRUE(Exists(group));
        EXPECT_EQ(Tail(), "Made Dir: " + Bytes(group) + "\r\nShell Link: " + Bytes(group) +
                              "\\Qantivo 8.lnk\r\nShell Link: " + Bytes(group) + "\\Qantivo 8 Help.lnk\r\n");
    }
}

TEST_F(InstallAction, WithoutAGroupFolderTheOtherLinksAreMade) {
    g_installType = 0;
    const Text taken = Folder(CSIDL_PROGRAMS) + TEXT("\\Qantivo taken");
    MakeFile(taken);
    g_groupName = TEXT("Qantivo taken\\below");
    PerformInstall();
    EXPECT_EQ(Tail(), "Made Dir: " + Bytes(taken) + "\\below\r\nShell Link: " + Bytes(Folder(CSIDL_DESKTOP)) +
                          "\\Qantivo 8.lnk\r\n");
}

// A fresh install overwrites what log it finds, and the links that it names stay.
TEST_F(InstallAction, AFreshInstallDoesNotLookForAnEarlierOne) {
    g_installType = 2;
    g_freshInstall = 1;
    MakeFile(TEXT("C:\\Scratch\\x.lnk"));
    MakeFile(TEXT("C:\\Scratch\\in\\old.hlp"));
    MakeFile(kLog, "Shell Link: C:\\Scratch\\x.lnk");
    PerformInstall();
    EXPECT_EQ(Tail(), "");
    EXPECT_TRUE(Exists(TEXT("C:\\Scratch\\x.lnk")) && Exists(TEXT("C:\\Scratch\\in\\old.hlp")));
}

}  // namespace
