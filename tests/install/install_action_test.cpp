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
        std::vector<Text> folders;
    } rows[] = {
        {TEXT("/Qantivo T//Capture /"),
         TEXT("Qantivo T\\\\Capture"),
         {TEXT("Qantivo T"), TEXT("Qantivo T\\Capture")}},
        {TEXT(" \t\r\n\\Qantivo A/ B/c\\ "),
         TEXT("Qantivo A\\ B\\c"),
         {TEXT("Qantivo A\\ B"), TEXT("Qantivo A\\ B\\c")}},
    };
    g_installType = 0;
    g_desktopIcon = 0;
    for (const auto& row : rows) {
        g_groupName = row.given;
        PerformInstall();
        EXPECT_EQ(g_groupName, row.used);
        const Text group = Folder(CSIDL_PROGRAMS) + TEXT("\\") + row.used;
        for (const Text& folder : row.folders)
            EXPECT_TRUE(Exists(Folder(CSIDL_PROGRAMS) + TEXT("\\") + folder));
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

// The links of an earlier installation go by its log, before that is overwritten. A fresh install doesn't
// look.
TEST_F(InstallAction, ClearsAnEarlierInstallation) {
    g_installType = 0;
    for (const int fresh : {1, 0}) {
        g_freshInstall = fresh;
        for (const LPCWSTR log : {TEXT("QtvUnInst.log"), TEXT("install.log")}) {
            const Text link = Text(TEXT("C:\\Scratch\\")) + log + TEXT(".lnk");
            MakeFile(link);
            MakeFile(Text(TEXT("C:\\Scratch\\in\\")) + log, "File Copy: own.txt\nShell Link: " + Bytes(link));
        }
        MakeFile(TEXT("C:\\Scratch\\in\\old.hlp"));
        MakeFile(TEXT("C:\\Scratch\\in\\own.txt"));
        PerformInstall();
        EXPECT_EQ(Exists(TEXT("C:\\Scratch\\QtvUnInst.log.lnk")), fresh);
        EXPECT_EQ(Exists(TEXT("C:\\Scratch\\install.log.lnk")), fresh);
        EXPECT_EQ(Exists(TEXT("C:\\Scratch\\in\\old.hlp")), fresh);
        EXPECT_TRUE(Exists(TEXT("C:\\Scratch\\in\\own.txt")));
        EXPECT_TRUE(Exists(TEXT("C:\\Scratch\\in\\install.log")));
    }
}

}  // namespace
