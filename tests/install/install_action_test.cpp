#include "install/install_action.h"

#include <shlobj.h>

#include "run/process_helpers.h"
#include "app/setup_state.h"
#include "harness/machine_view.h"
#include "harness/registry_values.h"
#include "install/system_registration.h"
#include "support/shell_folders.h"

namespace {

class InstallAction : public ScratchTest {
  protected:
    InstallAction() {
        g_sourceDir = TEXT("C:\\Scratch\\package");
        g_targetDir = TEXT("C:\\Scratch\\in");
        MakeFile(At("package\\QtvApp8Man.chm"), "help");
        MakeFile(At("package\\QtvUnInst.log"), kManifest);
        MakeFolder(TEXT("C:\\Scratch\\in"));
    }
    const std::string kManifest = "File Copy: QtvApp8Man.chm\r\nFile Del: old.hlp";
    const Text kLog = At("in\\QtvUnInst.log");
};

TEST_F(InstallAction, TrimsAndLevelsTheGroupName) {
    g_installType = 0;
    g_groupName = TEXT(" \t\r\n\\Qantivo//B/ c/\\ ");
    g_autoStart = 1;
    const Text startup = GetShellFolder(CSIDL_STARTUP).Text();
    DeleteTree(startup);
    PerformInstall();
    EXPECT_EQ(g_groupName, TEXT("Qantivo\\\\B\\ c"));
    EXPECT_TRUE(Exists(GetShellFolder(CSIDL_PROGRAMS).Text() + TEXT("\\Qantivo\\B\\ c\\Qantivo 8.lnk")));
    EXPECT_TRUE(Exists(startup + TEXT("\\Qantivo 8.lnk"))) << "its folder is made again";
}

// A fresh install overwrites any log that it finds, and the links that the log names stay. An update removes the links of both logs.
TEST_F(InstallAction, UpdateDeletesEarlierLinksAndHelp) {
    const Text old[] = {At("x\\1.lnk"), At("y\\2.lnk"), At("in\\old.hlp")};
    for (const bool fresh : {true, false}) {
        g_installType = 2;
        g_freshInstall = fresh;
        for (const Text& path : old)
            MakeFile(path);
        MakeFile(kLog, "Shell Link: C:\\Scratch\\x\\1.lnk");
        MakeFile(At("in\\install.log"), "Shell Link: C:\\Scratch\\y\\2.lnk");
        PerformInstall();
        EXPECT_EQ(FileBytes(kLog), kManifest + "\r\n");
        for (const Text& path : old)
            EXPECT_EQ(Exists(path), fresh) << Narrow(path);
    }
}

// The group is recorded even if it couldn't be made. Without the group, only its own links are missing.
TEST_F(InstallAction, RecordsTheGroupEvenIfItCantBeMade) {
    const std::string root = Narrow(GetShellFolder(CSIDL_PROGRAMS).Text()) + "\\",
                      desktop = Narrow(GetShellFolder(CSIDL_DESKTOP).Text()) + "\\",
                      own = "Qantivo 8.lnk\r\n", help = "Qantivo 8 Help.lnk\r\n";
    const struct {
        LPCWSTR name;
        std::string logged;
        bool linked = true;
    } rows[] = {{TEXT("Qantivo G"), "Qantivo G"},
                {TEXT("Qantivo G"), "Qantivo G"},
                {TEXT(" / "), ""},
                {TEXT("Qantivo?"), "Qantivo?", false}};
    g_installType = 0;
    g_freshInstall = 1;
    for (const auto& row : rows) {
        g_groupName = row.name;
        PerformInstall();
        const std::string link = "Shell Link: " + root + row.logged + "\\";
        EXPECT_EQ(FileBytes(kLog), kManifest + "\r\nMade Dir: " + root + row.logged + "\r\n" +
                                       (row.linked ? link + own + link + help : "") +
                                       "Shell Link: " + desktop + own);
    }
}

TEST_F(InstallAction, TakesEachSettingsFileByItself) {
    g_installType = 2;
    // Without a package there is no folder to search, not even the root of the drive.
    MakeFile(TEXT("C:\\QtvApp8.ini"));
    PerformInstall();
    EXPECT_FALSE(Exists(At("in\\QtvApp8.ini")));
    DeleteTree(TEXT("C:\\QtvApp8.ini"));
    g_sfxDir = TEXT("C:\\Scratch\\package");
    for (const Text& name : {Text(TEXT("QtvApp8.reg")), Text(TEXT("QtvApp8.ini"))}) {
        MakeFile(At("package\\") + name, "settings");
        PerformInstall();
        EXPECT_TRUE(Exists(At("in\\") + name));
        EXPECT_EQ(g_settingsFromPackage, name == TEXT("QtvApp8.ini"));
    }
    // The package, or the setup program, may be in the target folder.
    const CString target = g_targetDir;
    for (CString* folder : {&g_sourceDir, &g_sfxDir}) {
        *folder = target;
        g_settingsFromPackage = 0;
        MakeFile(At("in\\QtvApp8.ini"), "old");
        PerformInstall();
        EXPECT_EQ(FileBytes(At("in\\QtvApp8.ini")), folder == &g_sfxDir ? "old" : "settings");
        EXPECT_NE(g_settingsFromPackage, 0);
    }
}

TEST_F(InstallAction, RegistersTheHandlerOfTheSystem) {
    const struct {
        bool wow64;
        std::pair<DWORD, DWORD> system;
        LPCWSTR handler, imageTypes;
    } rows[] = {
        {false, {6, 2}, TEXT("C:\\q\\ThumbQvi32.dll"), TEXT("Qantivo.8")},
        {false, {10, 0}, TEXT("C:\\q\\ThumbQvi32.dll"), TEXT("Qantivo.8")},
        {false, {5, 2}, TEXT("C:\\q\\ThumbQviXP32.dll"), TEXT("Applications\\QtvApp8.exe")},
        {true, {6, 1}, TEXT("C:\\q\\x64\\ThumbQvi64.dll"), TEXT("Applications\\QtvApp8.exe")},
        {true, {5, 2}, TEXT(""), TEXT("Applications\\QtvApp8.exe")},
    };
    for (const auto& row : rows) {
        if (row.wow64) g_isWow64Process = [](HANDLE, PBOOL answer) -> BOOL { return *answer = TRUE; };
        g_osVersion.dwMajorVersion = row.system.first;
        g_osVersion.dwMinorVersion = row.system.second;
        EXPECT_EQ(ThumbnailHandlerPath(TEXT("C:\\q\\")), row.handler);
        WriteSystemRegistration();
        EXPECT_EQ(GetValue(HKEY_LOCAL_MACHINE, kProductKey + Text(TEXT("\\Capabilities\\FileAssociations")),
                           TEXT(".qvi")),
                  Sz(row.imageTypes));
    }
}

}  // namespace
