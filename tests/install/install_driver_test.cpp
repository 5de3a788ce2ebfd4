#include "install/install_driver.h"

#include <shlobj.h>

#include <algorithm>

#include "app/process_helpers.h"
#include "app/setup_state.h"
#include "install/earlier_install.h"
#include "support/registry_values.h"
#include "support/shell_folders.h"

namespace {

const Text kApplication = TEXT("\\QtvApp8.exe");
const Text kPackage = kScratch + TEXT("\\a package");

std::string Bytes(const CString& text) {
    return {text.Text().begin(), text.Text().end()};
}

class InstallDriver : public ScratchTest {
  protected:
    static void MakePackage() {
        ImportFile(QTV_BUILD_FOLDER "/package/QtvApp8.exe", kPackage + kApplication);
        MakeFile(kPackage + TEXT("\\QtvUnInst.log"), "File Copy: QtvApp8.exe\n");
    }
};

// A silent install from the program's own folder, and what it settled on.
CHILD_PROGRAM(InstallSilently) {
    LookUpSystemFunctions();
    const int result = RunInstall();
    WCHAR folder[MAX_PATH];
    (void)GetCurrentDirectoryW(MAX_PATH, folder);
    MakeFile(TEXT("C:\\Scratch\\settled"),
             Bytes(g_targetDir) + " type " + std::to_string(g_installType) + " desktop " +
                 std::to_string(g_desktopIcon) + " startup " + std::to_string(g_autoStart) + " fresh " +
                 std::to_string(g_freshInstall) + " older " + std::to_string(g_upgradeOlder) +
                 (g_targetDir == folder ? "" : " elsewhere"));
    return static_cast<DWORD>(result);
}

struct OptionRow {
    LPCWSTR arguments;
    const char* settled;
};

class InstallOptions : public InstallDriver, public ::testing::WithParamInterface<OptionRow> {};

TEST_P(InstallOptions, SettleTheInstall) {
    MakePackage();
    EXPECT_EQ(RunChild("InstallSilently", kPackage + TEXT("\\setup.exe"), GetParam().arguments).exitCode, 0u);
    EXPECT_EQ(FileBytes(TEXT("C:\\Scratch\\settled")), GetParam().settled);
}

#define FRESH "C:\\Program Files\\Qantivo 8 type 1 desktop 1 startup 0 fresh 1 older 0"
#define IN_FOLDER " desktop 1 startup 0 fresh 0 older 1"
const OptionRow kOptionRows[] = {
    {TEXT("-INSTDIR C:\\Scratch\\in -RunAfter"), FRESH},
    {TEXT("-instport"), FRESH},
    {TEXT("-instdir \"\""), FRESH},
    {TEXT("-install -ALLUSERS -AutoStart -nodeskico"),
     "C:\\Program Files\\Qantivo 8 type 1 desktop 0 startup 1 fresh 1 older 0"},
    {TEXT("-autostart -instdir \"C:\\Scratch\\a b\\\""), "C:\\Scratch\\a b type 0" IN_FOLDER},
    {TEXT("-instdir C:\\Scratch\\in/"), "C:\\Scratch\\in type 0" IN_FOLDER},
    {TEXT("-instdir C:\\Scratch\\in\\\\"), "C:\\Scratch\\in\\ type 0" IN_FOLDER " elsewhere"},
    {TEXT("-instdir C:\\Scratch\\x -instport C:\\Scratch\\in "), "C:\\Scratch\\in type 2" IN_FOLDER},
    {TEXT("-instdir -runafter"), "-runafter type 0" IN_FOLDER " elsewhere"},
};
INSTANTIATE_TEST_SUITE_P(Rows, InstallOptions, ::testing::ValuesIn(kOptionRows));

TEST_F(InstallDriver, AnApplicationOfMajorVersion0CountsAsDamaged) {
    MakePackage();
    SetFileVersion(kPackage + kApplication, 0, 9, 9, 9);
    const BoxAnswers boxes({IDOK});
    EXPECT_EQ(RunChild("InstallSilently", kPackage + TEXT("\\setup.exe")).exitCode, 1u);
    EXPECT_FALSE(Exists(TEXT("C:\\Program Files\\Qantivo 8")));
}

TEST_F(InstallDriver, ReadsVersionsOfWholeFilesAlone) {
    MakePackage();
    const Text application = kPackage + kApplication;
    SetFileVersion(application, 8, 65535, 0, 7);
    const std::string whole = FileBytes(application).value_or("");
    for (const std::size_t cbLeft : {whole.size(), whole.size() / 4, std::size_t{200}, std::size_t{0}}) {
        MakeFile(application, whole.substr(0, cbLeft));
        g_version = {1, 2, 3, 4};
        ReadFileVersion(application.c_str());
        const bool read = cbLeft == whole.size();
        const DWORD numbers[] = {g_version.major, g_version.minor, g_version.release, g_version.build};
        const DWORD expected[] = {read ? 8u : 0, read ? 65535u : 0, 0, read ? 7u : 0};
        EXPECT_TRUE(std::equal(numbers, numbers + 4, expected)) << cbLeft;
    }
    for (const Text& path : {kPackage, kScratch + TEXT("\\none.exe"), kScratch + Text(400, 'x')}) {
        g_version = {1, 2, 3, 4};
        ReadFileVersion(path.c_str());
        EXPECT_EQ(g_version.major, 0u);
    }
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

TEST_F(InstallDriver, AsksBeforeReplacingTheSameOrANewerVersion) {
    MakePackage();
    const Text target = kScratch + TEXT("\\in");
    ImportFile(QTV_BUILD_FOLDER "/package/QtvApp8.exe", target + kApplication);
    g_sourceDir = kPackage.c_str();
    g_targetDir = target.c_str();
    SetFileVersion(kPackage + kApplication, 8, 1, 5, 0);
    const Text same = TEXT("Qantivo ver. 8.01.05.00 is already"),
               newer = TEXT("Qantivo v. 8.02.00.01 is already");
    const struct {
        int silentMode;
        unsigned installed[4];
        int answer;
        Text question;
        bool agreed;
    } rows[] = {
        {0, {8, 1, 4, 99}, 0, TEXT(""), true},
        {0, {8, 1, 5, 0}, IDYES, same, true},
        {0, {8, 1, 5, 0}, IDNO, same, false},
        {0, {8, 2, 0, 1}, IDYES, newer, true},
        {0, {8, 2, 0, 1}, IDNO, newer, false},
        {1, {9, 0, 0, 0}, 0, TEXT(""), true},
        {0, {8, 0, 104, 0}, 0, TEXT(""), true},
        {0, {7, 101, 5, 0}, IDNO, TEXT("Qantivo ver. 8.01.05.00 is"), false},
    };
    for (const auto& row : rows) {
        g_silentMode = row.silentMode;
        g_upgradeOlder = 0;
        SetFileVersion(target + kApplication, row.installed[0], row.installed[1], row.installed[2],
                       row.installed[3]);
        const BoxAnswers boxes(row.answer ? std::vector<int>{row.answer} : std::vector<int>{});
        EXPECT_EQ(AgreeToReplaceVersion(), row.agreed);
        EXPECT_EQ(g_upgradeOlder, row.answer == 0);
        ASSERT_EQ(boxes.Shown().size(), row.answer ? 1u : 0u);
        if (row.answer) {
            EXPECT_EQ(boxes.Shown()[0].text.substr(0, row.question.size()), row.question);
        }
    }
}

TEST_F(InstallDriver, TakesUpTheEarlierUsers) {
    const struct {
        LPCWSTR stored;
        int given, used;
    } rows[] = {{nullptr, 1, 0},    {TEXT("A"), 1, 0}, {TEXT("b"), 1, 0},
                {TEXT("BB"), 1, 0}, {TEXT("B"), 0, 1}, {TEXT("B"), 2, 2}};
    for (const auto& row : rows) {
        if (row.stored) PutValue(HKEY_LOCAL_MACHINE, kProductKey, TEXT("AllUsers"), Sz(row.stored));
        g_installType = row.given;
        TakeUpInstallType();
        EXPECT_EQ(g_installType, row.used);
    }
}

TEST_F(InstallDriver, TakesUpTheGroupOfTheLastLoggedLink) {
    const std::string user = Bytes(GetShellFolder(CSIDL_PROGRAMS)),
                      common = Bytes(GetShellFolder(CSIDL_COMMON_PROGRAMS));
    const std::string userStartup = Bytes(GetShellFolder(CSIDL_STARTUP));
    const std::string tag = "Shell Link: ";
    std::string upper = user;
    for (char& letter : upper)
        letter = static_cast<char>(std::toupper(letter));
    const struct {
        int installType;
        std::string log;
        LPCWSTR group;
    } rows[] = {
        {0, tag + user + "\\A\\B\\x.lnk\r\n" + tag + userStartup + "\\x.lnk\r\n" + tag + "C:\\x.lnk",
         TEXT("A\\B")},
        {0, tag + user + "\\A\\x.lnk\n" + tag + upper + "\\Last One\\x.lnk  \n", TEXT("Last One")},
        {0, tag + user + "\\x.lnk\n", TEXT("")},
        {0, tag + "\nshell link: " + user + "\\A\\x.lnk\n " + tag + user + "\\A\\x.lnk\n", TEXT("start")},
        {0, tag + common + "\\A\\x.lnk\n", TEXT("start")},
        {1, tag + common + "\\A\\x.lnk\n" + tag + user + "\\B\\x.lnk\n", TEXT("A")},
        {2, tag + common + "\\A\\x.lnk\n" + tag + "\\A\\x.lnk\n", TEXT("start")},
    };
    g_targetDir = kScratch.c_str();
    for (const auto& row : rows) {
        MakeFile(TEXT("C:\\Scratch\\QtvUnInst.log"), row.log);
        g_installType = row.installType;
        g_groupName = TEXT("start");
        TakeUpGroup();
        EXPECT_EQ(g_groupName, row.group) << row.log;
    }
}

}  // namespace
