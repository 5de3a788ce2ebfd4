#include "install/install_action.h"

#include <shlobj.h>

#include "app/setup_state.h"
#include "support/registry_values.h"
#include "support/shell_folders.h"

namespace {

class InstallAction : public ScratchTest {
  protected:
    InstallAction() {
        g_sourceDir = TEXT("C:\\Scratch\\package");
        g_targetDir = TEXT("C:\\Scratch\\in");
        MakeFile(TEXT("C:\\Scratch\\package\\QtvApp8Man.chm"), "help");
        MakeFile(TEXT("C:\\Scratch\\package\\QtvUnInst.log"), kManifest);
        MakeFolder(TEXT("C:\\Scratch\\in"));
    }
    const std::string kManifest = "File Copy: QtvApp8Man.chm\r\nFile Del: old.hlp";
    const Text kLog = TEXT("C:\\Scratch\\in\\QtvUnInst.log");
};

TEST_F(InstallAction, TrimsAndLevelsTheGroupName) {
    g_installType = 0;
    g_groupName = TEXT(" \t\r\n\\Qantivo A//B/ c/\\ ");
    g_autoStart = 1;
    const Text startup = GetShellFolder(CSIDL_STARTUP).Text();
    DeleteTree(startup);
    PerformInstall();
    EXPECT_EQ(g_groupName, TEXT("Qantivo A\\\\B\\ c"));
    EXPECT_TRUE(Exists(GetShellFolder(CSIDL_PROGRAMS).Text() + TEXT("\\Qantivo A\\B\\ c\\Qantivo 8.lnk")));
    EXPECT_TRUE(Exists(startup + TEXT("\\Qantivo 8.lnk"))) << "its folder is made again";
}

// A fresh install overwrites what log it finds, and the links that it names stay.
TEST_F(InstallAction, AFreshInstallDoesNotLookForAnEarlierOne) {
    g_installType = 2;
    g_freshInstall = 1;
    MakeFile(TEXT("C:\\Scratch\\x.lnk"));
    MakeFile(TEXT("C:\\Scratch\\in\\old.hlp"));
    MakeFile(kLog, "Shell Link: C:\\Scratch\\x.lnk");
    PerformInstall();
    EXPECT_EQ(FileBytes(kLog), kManifest + "\r\n");
    EXPECT_TRUE(Exists(TEXT("C:\\Scratch\\x.lnk")) && Exists(TEXT("C:\\Scratch\\in\\old.hlp")));
}

}  // namespace
