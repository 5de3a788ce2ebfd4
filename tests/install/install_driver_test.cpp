#include "install/install_driver.h"

#include <shlobj.h>

#include "run/earlier_folder.h"
#include "run/process_helpers.h"
#include "app/setup_state.h"
#include "install/earlier_install.h"
#include "install/file_version.h"
#include "harness/driver.h"
#include "harness/registry_values.h"
#include "support/shell_folders.h"

namespace {

const Text kApplication = TEXT("\\QtvApp8.exe");
const Text kPackage = kScratch + TEXT("\\a package");

using InstallDriver = ScratchTest;

void MakePackage() {
    ImportFile("package/QtvApp8.exe", kPackage + kApplication);
    MakeFile(kPackage + TEXT("\\QtvUnInst.log"), "File Copy: QtvApp8.exe\n");
}

// An install from the program's own folder, and the choices that it made. With -v, it isn't silent.
CHILD_PROGRAM(Installs) {
    LookUpSystemFunctions();
    if (std::find(__wargv, __wargv + __argc, Text(TEXT("-v"))) != __wargv + __argc)
        g_silentMode = kInteractive;
    const int result = RunInstall();
    WCHAR folder[MAX_PATH];
    (void)GetCurrentDirectoryW(MAX_PATH, folder);
    std::ostringstream settled;
    settled << Narrow(g_targetDir.Text()) << " type " << g_installType << " desktop " << g_desktopIcon
            << " startup " << g_autoStart << " fresh " << g_freshInstall << " older " << g_upgradeOlder
            << " run " << g_runAfter << (g_targetDir == folder ? "" : " elsewhere")
            << (g_groupName == kProductName ? "" : " group " + Narrow(g_groupName.Text()));
    MakeFile(TEXT("C:\\Scratch\\settled"), settled.str());
    return result;
}

TEST_F(InstallDriver, OptionsSettleTheInstall) {
    const std::string fresh = "C:\\Program Files\\Qantivo 8 type 1 desktop 1 startup 0 fresh 1 older 0 run ";
    const std::string inFolder = " desktop 1 startup 0 fresh 0 older 1 run 0";
    const std::pair<LPCWSTR, std::string> rows[] = {
        {TEXT("-INSTDIR C:\\Scratch\\in -instDir C:\\Scratch\\in -instPort x -RunAfter"), fresh + "1"},
        {TEXT("-instport"), fresh + "0"},
        {TEXT("-instdir C:\\Scratch\\in -instdir \"\""), fresh + "0"},
        {TEXT("-autostart -instdir \"C:\\Scratch\\a b\\\""), "C:\\Scratch\\a b type 0" + inFolder},
        {TEXT("-instdir C:\\Scratch\\kept"), "C:\\Scratch\\kept type 0" + inFolder + " group Qantivo K"},
        {TEXT("-instdir C:\\Scratch\\in/"), "C:\\Scratch\\in type 0" + inFolder},
        {TEXT("-instdir \"C:\\Scratch\\in \""), "C:\\Scratch\\in  type 0" + inFolder + " elsewhere"},
        {TEXT("-instdir C:\\Scratch\\in\\\\"), "C:\\Scratch\\in\\ type 0" + inFolder + " elsewhere"},
        {TEXT("-instdir C:\\Scratch\\x -instport C:\\Scratch\\in "), "C:\\Scratch\\in type 2" + inFolder},
        {TEXT("-instdir C:\\Scratch\\in -instport"), "C:\\Scratch\\in type 2" + inFolder},
        {TEXT("-instport C:\\Scratch\\in -allusers"), "C:\\Scratch\\in type 2" + inFolder},
        {TEXT("-instdir -NoDeskIco"),
         "-NoDeskIco type 0 desktop 0 startup 0 fresh 0 older 1 run 0 elsewhere"},
        // This row is the last one, because its shortcut in the Startup folder would be found by later rows.
        {TEXT("-install -ALLUSERS -AutoStart -nodeskico"),
         "C:\\Program Files\\Qantivo 8 type 1 desktop 0 startup 1 fresh 1 older 0 run 0"},
    };
    MakePackage();
    MakeFile(TEXT("C:\\Scratch\\kept\\install.log"),
             "Shell Link: " + Narrow(GetShellFolder(CSIDL_PROGRAMS).Text()) + "\\Qantivo K\\x.lnk");
    for (const auto& [arguments, settled] : rows) {
        EXPECT_EQ(RunChild("Installs", kPackage + TEXT("\\setup.exe"), arguments), 0u);
        EXPECT_EQ(FileBytes(TEXT("C:\\Scratch\\settled")), settled);
        DeleteKeyTree(HKEY_LOCAL_MACHINE, kProductKey);
        DeleteKeyTree(HKEY_LOCAL_MACHINE, kAppPathsKey);
    }
}

TEST_F(InstallDriver, ReadsVersionsOnlyOfWholeFiles) {
    MakePackage();
    const Text application = kPackage + kApplication;
    SetFileVersion(application, 8, 65535, 0, 7);
    const std::string whole = FileBytes(application).value_or("");
    const auto version = [](const Text& path) {
        g_version = {1, 2, 3, 4};
        ReadFileVersion(path.c_str());
        return std::vector{g_version.major, g_version.minor, g_version.release, g_version.build};
    };
    EXPECT_EQ(version(application), (std::vector<DWORD>{8, 65535, 0, 7}));
    const std::vector<DWORD> none(4);
    for (const std::size_t cbLeft : {whole.size() / 4, std::size_t{200}, std::size_t{0}}) {
        MakeFile(application, whole.substr(0, cbLeft));
        EXPECT_EQ(version(application), none) << cbLeft;
    }
    for (const Text& path : {kPackage, kScratch + TEXT("\\none.exe"), kScratch + Text(400, 'x')})
        EXPECT_EQ(version(path), none);
    const char memory[40] = {}, *const block = memory + 10;
    for (const int place : {-1, 0, 12, 13, 20})
        EXPECT_EQ(LiesInBlock(block + place, 8, block, 20), place == 0 || place == 12) << place;
    EXPECT_FALSE(LiesInBlock(block, 21, block, 20));
}

TEST_F(InstallDriver, FindsTheFolderOfAnEarlierInstallation) {
    const struct {
        Text path, application;
        LPCWSTR folder;
    } rows[] = {
        {TEXT("C:\\Q\\"), TEXT("C:\\P\\QtvApp8.exe"), TEXT("C:\\Q")},
        {TEXT(""), TEXT("C:\\P\\QtvApp8.exe"), TEXT("C:\\P")},
        {Text(130, 'x'), TEXT("C:\\P\\\\QtvApp8.exe\\QtvApp8.exe"), TEXT("C:\\P")},
        {TEXT(""), TEXT("C:\\P\\qtvapp8.exe"), TEXT("")},
    };
    EXPECT_TRUE(GetInstalledFolder().IsEmpty());
    for (const auto& row : rows) {
        PutValue(HKEY_LOCAL_MACHINE, kProductKey, TEXT("Path"), Sz(row.path));
        PutValue(HKEY_LOCAL_MACHINE, kAppPathsKey, nullptr, Sz(row.application));
        EXPECT_EQ(GetInstalledFolder(), row.folder);
    }
}

TEST_F(InstallDriver, TakesTheDriveOfWindowsWithoutAProgramFilesFolder) {
    const Text key = TEXT("SOFTWARE\\Microsoft\\Windows\\CurrentVersion");
    const StoredValue before = GetValue(HKEY_LOCAL_MACHINE, key, TEXT("ProgramFilesDir")).value();
    for (const auto& [value, folder] :
         {std::pair{TEXT("E:\\Apps\\"), TEXT("E:\\Apps")}, std::pair{TEXT(""), TEXT("C:\\Program Files")}}) {
        PutValue(HKEY_LOCAL_MACHINE, key, TEXT("ProgramFilesDir"), Sz(value));
        EXPECT_EQ(GetProgramFilesDir(), folder);
    }
    PutValue(HKEY_LOCAL_MACHINE, key, TEXT("ProgramFilesDir"), before);
}

TEST_F(InstallDriver, AdoptsTheInstallType) {
    const std::tuple<int, LPCWSTR, int> rows[] = {
        {0, TEXT("B"), 1}, {1, TEXT("A"), 0}, {1, TEXT("b"), 0}, {2, TEXT("B"), 2}};
    for (const auto& [before, stored, after] : rows) {
        PutValue(HKEY_LOCAL_MACHINE, kProductKey, TEXT("AllUsers"), Sz(stored));
        g_installType = before;
        AdoptInstallType();
        EXPECT_EQ(g_installType, after) << before << Narrow(stored);
    }
}

TEST_F(InstallDriver, AsksBeforeReplacingTheSameOrANewerVersion) {
    MakePackage();
    const Text target = kScratch + TEXT("\\in");
    ImportFile("package/QtvApp8.exe", target + kApplication);
    g_sourceDir = kPackage.c_str();
    g_targetDir = target.c_str();
    SetFileVersion(kPackage + kApplication, 8, 1, 5, 0);
    const LPCWSTR same = TEXT(
        "Qantivo ver. 8.01.05.00 is already installed on this machine.\n\nWould you like to run this "
        "setup again to select different options or repair the files?");
    const struct {
        unsigned installed[4];
        LPCWSTR question;
        int silentMode = 0;
        bool offered = true;
    } rows[] = {
        {{8, 1, 4, 99}, nullptr},
        {{8, 1, 5, 0}, same},
        {{8, 2, 0, 1},
         TEXT("Qantivo v. 8.02.00.01 is already installed on this machine. You are trying to install an "
              "older version 8.01.05.00 .\n\nDo you still want to continue?")},
        {{8, 2, 0, 0}, nullptr, 2},
        {{8, 0, 105, 0}, same},
        {{8, 1, 4, 100}, same},
        {{7, 101, 5, 0}, same},
        {{0, 0, 0, 1},
         TEXT("Qantivo v. 0.00.00.01 is already installed on this machine. You are trying to install an "
              "older version 0.00.00.00 .\n\nDo you still want to continue?"),
         0,
         false},
    };
    for (const auto& row : rows)
        for (const int answer : {IDNO, IDYES}) {
            g_silentMode = row.silentMode;
            g_upgradeOlder = 0;
            SetFileVersion(target + kApplication, row.installed[0], row.installed[1], row.installed[2],
                           row.installed[3]);
            if (!row.offered) DeleteTree(kPackage + kApplication);
            const BoxAnswers boxes(row.question ? std::vector{answer} : std::vector<int>{});
            EXPECT_EQ(AgreeToReplaceVersion(), !row.question || answer == IDYES);
            EXPECT_EQ(g_upgradeOlder, !row.question);
            for (const ShownBox& box : boxes.Shown())
                EXPECT_TRUE(box.text == row.question && box.HasStyle(MB_YESNO | MB_ICONQUESTION));
            EXPECT_EQ(g_version.minor, row.offered ? 1u : 0u) << "the one that is to be installed";
        }
}

// After a No to the question, or a wizard that the user cancels, the product isn't started and the current folder stays.
TEST_F(InstallDriver, EndsWhereTheUserStopsIt) {
    const Text product = kScratch + TEXT("\\in") + kApplication;
    MakeFile(kScratch + TEXT("\\QtvUnInst.log"));
    for (const bool asked : {true, false}) {
        ImportFile("sleeper.exe", product);
        if (!asked) ImportFile("package/QtvApp8.exe", kScratch + kApplication);
        const BoxAnswers boxes({asked ? IDNO : IDYES});
        const RunningProgram setup = StartChild("Installs", TEXT("-v -runafter -instdir C:\\Scratch\\in"));
        if (!asked) Driver(setup.Id(), TEXT("Qantivo Setup")).Press(IDCANCEL);
        EXPECT_EQ(setup.ExitCode(), 1u);
        EXPECT_TRUE(FileBytes(kScratch + TEXT("\\settled")).value_or("").ends_with(" run 1 elsewhere"));
        EXPECT_TRUE(DeleteFileW(product.c_str())) << "it runs";
    }
}

TEST_F(InstallDriver, AdoptsTheGroupOfTheLastLoggedLink) {
    const std::string tag = "Shell Link: ", user = Narrow(GetShellFolder(CSIDL_PROGRAMS).Text());
    const auto link = [&](int folder, const std::string& path) {
        return tag + Narrow(GetShellFolder(folder).Text()) + path + "\n";
    };
    const struct {
        int installType;
        std::string log;
        LPCWSTR group;
    } rows[] = {
        {0,
         link(CSIDL_PROGRAMS, "\\A\\B\\x.lnk\r") + link(CSIDL_STARTUP, "\\x.lnk") + tag +
             "C:\\x.lnk\nMade Dir: " + user + "\\Z\\z\n\x1a\n" + link(CSIDL_PROGRAMS, "\\Y\\x.lnk"),
         TEXT("A\\B")},
        {0,
         link(CSIDL_PROGRAMS, "\\A\\x.lnk") + tag + Narrow(CString(Wide(user).c_str()).MakeUpper().Text()) +
             "\\Last One\\x.lnk  \n",
         TEXT("Last One")},
        {0, link(CSIDL_PROGRAMS, "\\x.lnk"), TEXT("")},
        {0, link(CSIDL_COMMON_PROGRAMS, "\\A\\x.lnk") + tag + "D:\\of " + user + "\\A\\x.lnk\n",
         TEXT("start")},
        {1,
         link(CSIDL_COMMON_PROGRAMS, "\\A\\x.lnk") + link(CSIDL_PROGRAMS, "\\B\\x.lnk") +
             link(CSIDL_COMMON_STARTUP, "\\x.lnk"),
         TEXT("A")},
        {2, link(CSIDL_PROGRAMS, "\\A\\x.lnk"), TEXT("start")},
    };
    g_targetDir = kScratch.c_str();
    MakeFile(TEXT("C:\\Scratch\\install.log"), link(CSIDL_COMMON_PROGRAMS, "\\Older\\x.lnk"));
    for (const auto& row : rows) {
        MakeFile(TEXT("C:\\Scratch\\QtvUnInst.log"), row.log);
        g_installType = row.installType;
        g_groupName = TEXT("start");
        AdoptGroup();
        EXPECT_EQ(g_groupName, row.group) << row.log;
    }
    DeleteTree(TEXT("C:\\Scratch\\QtvUnInst.log"));
    g_installType = 1;
    AdoptGroup();
    EXPECT_EQ(g_groupName, TEXT("Older"));
}

}  // namespace
