// Tests of the install for which only the embedded machine can cause a failure or tell the result.
#include <shlobj.h>

#include "run/process_helpers.h"
#include "app/setup_state.h"
#include "install/closing_page.h"
#include "install/earlier_install.h"
#include "install/install_action.h"
#include "install/install_driver.h"
#include "install/log_lines.h"
#include "install/shell_links.h"
#include "install/system_registration.h"
#include "harness/registry_values.h"
#include "support/shell_folders.h"
#include <winhost.h>

namespace {

const Text kShellFolders = TEXT("SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders");

class InstallOnHost : public ScratchTest {
  protected:
    InstallOnHost() { g_targetDir = kScratch.c_str(); }
    ~InstallOnHost() override { winhost::SetFaults({}); }
    static HRESULT MakeLink() {
        return MakeShellLink(TEXT("C:\\x.exe"), TEXT("C:\\Scratch\\x.lnk"), TEXT(""), kDefaultShowCommand,
                             nullptr, nullptr);
    }
};

TEST_F(InstallOnHost, SavesALinkWithoutRefusedFields) {
    winhost::SetFaults(
        {{.call = "IShellLinkW::SetPath", .nth = 1}, {.call = "IShellLinkW::SetDescription", .nth = 2}});
    for (const LPCWSTR told : {TEXT("SetPath failed!"), TEXT("SetDescription failed!")}) {
        const BoxAnswers answers({IDOK});
        EXPECT_EQ(MakeLink(), S_OK);
        EXPECT_TRUE(answers.Shown().at(0).text == told && answers.Shown()[0].HasStyle(MB_OK)) << Narrow(told);
    }
    EXPECT_LE(winhost::CallCounts()["CoInitialize"], 1u) << "once a process";
    for (const char* unused : {"SetShowCmd", "SetArguments", "SetWorkingDirectory"})
        EXPECT_EQ(winhost::CallCounts()[std::string("IShellLinkW::") + unused], 0u) << unused;
}

// Without the shell's links, nothing is shown and nothing is logged.
TEST_F(InstallOnHost, NoLinkIsMadeWithoutCom) {
    // The first question for an interface is that of CoCreateInstance.
    for (const auto& [call, nth] :
         {std::pair{"CoCreateInstance", 1u}, std::pair{"IUnknown::QueryInterface", 1u},
          std::pair{"IUnknown::QueryInterface", 2u}, std::pair{"IPersistFile::Save", 1u}}) {
        winhost::SetFaults({{.call = call, .nth = nth}});
        EXPECT_LT(MakeLink(), 0) << call;
        EXPECT_TRUE(Tree().empty()) << call;
    }
}

// A path that doesn't fit is no path. Cut, it would name another folder.
TEST_F(InstallOnHost, HasNoSourceFolderWhenItsOwnPathIsTooLong) {
    const auto machine = winhost::StateFolder().parent_path();
    for (const std::size_t cch : {259, 260}) {
        const std::u16string folder = u"C:\\" + std::u16string(cch - 13, u'x');
        winhost::EnterMachine(machine, folder + u"\\setup.exe");
        EXPECT_EQ(GetSourceFolder().Text(), cch < MAX_PATH ? folder : u"");
    }
    winhost::EnterMachine(machine);
}

// Files in the root of the drive are not taken for the package.
TEST_F(InstallOnHost, IsDamagedWithoutItsOwnPath) {
    ImportFile("package/QtvApp8.exe", TEXT("C:\\QtvApp8.exe"));
    MakeFile(TEXT("C:\\QtvUnInst.log"));
    winhost::SetProgramFaults("setup.exe", {{.call = "GetModuleFileNameW"}});
    const BoxAnswers answers({IDOK});
    EXPECT_EQ(RunChild("Installs", kScratch + TEXT("\\setup.exe"), TEXT("-instport C:\\Scratch\\in")), 1u);
    winhost::ClearProgramFaults();
    for (const LPCWSTR file : {TEXT("C:\\QtvApp8.exe"), TEXT("C:\\QtvUnInst.log")})
        DeleteTree(file);
}

// A test file is created in the folder, and its result isn't used. A path of four characters or fewer is no Startup folder.
TEST_F(InstallOnHost, LooksIntoStartupFolders) {
    const Text common = GetShellFolder(CSIDL_COMMON_STARTUP).Text();
    winhost::SetFaults({{.call = "_wfopen", .nth = 1}});
    AdoptAutoStart();
    ASSERT_EQ(Tree(common).size(), 1u) << "a file that can't be opened stays";
    EXPECT_EQ(Tree(common)[0].substr(0, 3), TEXT("q8t"));
    DeleteTree(common + TEXT("\\") + Tree(common)[0]);
    winhost::SetLimits({});
    AdoptAutoStart();
    EXPECT_EQ(winhost::LiftLimits().steps, 3u) << "it is made, opened for writing and deleted";
    for (const auto& [hive, name] : {std::pair{HKEY_LOCAL_MACHINE, TEXT("Common Startup")},
                                     std::pair{HKEY_CURRENT_USER, TEXT("Startup")}}) {
        for (const Text& folder : {Text(TEXT("C:\\a")), Text(TEXT("C:\\ab"))}) {
            MakeFile(folder + TEXT("\\Qantivo 8.lnk"));
            PutValue(hive, kShellFolders, name, Sz(folder));
            AdoptAutoStart();
            EXPECT_EQ(g_autoStart, folder.size() > 4);
            EXPECT_EQ(Tree(folder).size(), 1u) << "the test file is deleted";
            DeleteTree(folder);
        }
        DeleteKeyTree(hive, kShellFolders);
    }
}

TEST_F(InstallOnHost, HasNoVersionWithoutAFunctionThatReadsIt) {
    ImportFile("package/QtvApp8.exe", kScratch + TEXT("\\app.exe"));
    for (const unsigned nth : {1, 2, 3}) {
        winhost::SetFaults({{.call = "GetProcAddress", .nth = nth}});
        g_version.major = 8;
        ReadFileVersion(TEXT("C:\\Scratch\\app.exe"));
        EXPECT_EQ(g_version.major, 0u) << nth;
    }
}

TEST_F(InstallOnHost, RegistersNoHandlerOn64BitXp) {
    g_isWow64Process = [](HANDLE, PBOOL answer) -> BOOL { return *answer = TRUE; };
    g_osVersion.dwMajorVersion = 5;
    winhost::ClearEvents();
    RegisterThumbnailHandler();
    EXPECT_TRUE(winhost::Events().empty());
    g_isWow64Process = nullptr;
}

// Setup doesn't wait for the registrar and the application, and closes its handles to them.
TEST_F(InstallOnHost, StartsProgramsThatGoOnByThemselves) {
    for (const Text& program : {Text(TEXT("C:\\Windows\\regsvr32.exe")), kScratch + TEXT("\\QtvApp8.exe")})
        ImportFile("sleeper.exe", program);
    g_installType = kForCurrentUser;
    const unsigned handles = winhost::OpenHandles();
    (void)SetVirtualClock(true);
    const DWORD start = GetTickCount();
    PerformInstall();
    EXPECT_EQ(GetTickCount(), start);
    EXPECT_EQ(winhost::ProcessIds().size(), 2u) << "both run on";
    EXPECT_EQ(winhost::OpenHandles(), handles);
    RestartMachine();
    (void)SetVirtualClock(false);
    DeleteTree(TEXT("C:\\Windows\\regsvr32.exe"));
}

CHILD_PROGRAM(DiesBeforeTheRegistration) {
    g_installType = kForCurrentUser;
    g_sourceDir = g_sfxDir = TEXT("C:\\Scratch\\package");
    g_targetDir = TEXT("C:\\Scratch\\in");
    PerformInstall();
    return 0;
}

// The application finds the settings when it registers itself. The first program that starts is the registrar.
TEST_F(InstallOnHost, TakesTheSettingsBeforeTheApplicationRegistersItself) {
    MakeFile(TEXT("C:\\Scratch\\package\\QtvApp8.ini"));
    MakeFolder(TEXT("C:\\Scratch\\in"));
    winhost::SetProgramFaults("child.exe", {{.call = "CreateProcessW", .nth = 2, .kill = true}});
    EXPECT_NE(RunChild("DiesBeforeTheRegistration"), 0u);
    EXPECT_TRUE(Exists(TEXT("C:\\Scratch\\in\\QtvApp8.ini")));
    winhost::ClearProgramFaults();
}

TEST_F(InstallOnHost, RestartsOnlyWithTheEnabledPrivilege) {
    LookUpSystemFunctions();
    HANDLE token;
    EXPECT_TRUE(OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, &token));
    for (const int enable : {1, 0}) {
        EXPECT_TRUE(EnablePrivilege(token, TEXT("SeShutdownPrivilege"), enable));
        EXPECT_EQ(ExitWindowsEx(EWX_REBOOT, 0), enable);
    }
    CloseHandle(token);
}

// A path of three characters or fewer is no common programs folder.
TEST_F(InstallOnHost, IsForTheCurrentUserWithoutCommonPrograms) {
    g_sourceDir = TEXT("C:\\Scratch\\package");
    for (const bool usable : {false, true}) {
        PutValue(HKEY_LOCAL_MACHINE, kShellFolders, TEXT("Common Programs"),
                 Sz(usable ? TEXT("C:\\a") : TEXT("C:\\")));
        g_installType = 1;
        AppendLogLine(TEXT("C:\\Scratch\\QtvUnInst.log"), TEXT("Shell Link: C:\\a\\x.lnk"));
        AdoptGroup();
        EXPECT_EQ(g_groupName, usable ? TEXT("") : TEXT("a"));
        g_groupName = TEXT("Qantivo");
        PerformInstall();
        EXPECT_EQ(g_installType, usable);
        EXPECT_EQ(GetValue(HKEY_LOCAL_MACHINE, kProductKey, TEXT("AllUsers")),
                  Sz(usable ? TEXT("B") : TEXT("A")));
        const Text desktop = GetShellFolder(usable ? CSIDL_COMMON_DESKTOPDIRECTORY : CSIDL_DESKTOP).Text();
        EXPECT_TRUE(Exists(desktop + TEXT("\\Qantivo 8.lnk")));
        EXPECT_NE(Exists(GetShellFolder(CSIDL_PROGRAMS).Text() + TEXT("\\Qantivo\\Qantivo 8.lnk")), usable);
    }
    DeleteKeyTree(HKEY_LOCAL_MACHINE, kShellFolders);
    DeleteTree(TEXT("C:\\a"));
}

// The web page that an install in the wizard opens at its end.
class ClosingPage : public ScratchTest {
  protected:
    ClosingPage() {
        g_silentMode = 0;
        g_freshInstall = 1;
        g_targetDir = kScratch.c_str();
    }
    static std::vector<std::string> Opened() {
        winhost::ClearEvents();
        OpenClosingPage();
        return winhost::Events();
    }
};

TEST_F(ClosingPage, CarriesQueryAndLanguageOfTheUrlFile) {
    const std::string filler(259 - 13, 'x');
    const struct {
        const char* name;
        std::optional<std::string> file;
        std::string query;
    } rows[] = {
        {"no file", std::nullopt, ""},
        {"both", "URL=http://host/x?a=1\r\nUpdate=http://host/y/de\r\n", "?a=1&Lang=DE"},
        {"two languages", " \tUpdate=http://h/de \nUpdate=http://h/fr\n", "?Lang=DE&Lang=FR"},
        {"digits", "Update=http://h/8.1\nUpdate=http://h/0b\nUpdate=http://h/b9\n", ""},
        {"no language at all", "Update=http://\n", "?Lang=//"},
        {"the last query", "URL=http://h/x?a=1\nURL=http://h/x?b=2?c\n", "?b=2?c"},
        {"no query", "URL=http://h/x?a=1\nURL=http://h/x\n", "?a=1"},
        {"other lines", "URL=http:/h?a\nurl=http://h/x?a=1\nX URL=http://h/x?b\nUpdate=http:/h/de\n", ""},
        {"the end of a text", "URL=http://h/x?a=1\n\x1a\nURL=http://h/x?b=2\n", "?a=1"},
        {"a long line's second piece", "URL=http://h?" + filler + "URL=http://h/?b=2", "?b=2"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        DeleteTree(TEXT("HomePage.url"));
        if (row.file) MakeFile(TEXT("HomePage.url"), *row.file);
        EXPECT_EQ(Opened(), std::vector<std::string>{
                                "shell-execute\topen\thttp://www.lorvanta.example/qvdx/InstScript.asp" +
                                row.query + "\t5"});
    }
}

TEST_F(ClosingPage, ComesOnlyWithSomethingNewer) {
    const struct {
        int silentMode = kInteractive, fresh = 0, upgrade = 0, settings = 0;
        bool opens = false;
    } rows[] = {{.fresh = 1, .opens = true},
                {.upgrade = 1, .opens = true},
                {},
                {.fresh = 1, .upgrade = 1, .settings = 1},
                {.silentMode = kSilent, .fresh = 1, .upgrade = 1},
                {.silentMode = kSilentWithLastPage, .fresh = 1, .upgrade = 1}};
    for (const auto& row : rows) {
        g_silentMode = row.silentMode;
        g_freshInstall = row.fresh;
        g_upgradeOlder = row.upgrade;
        g_settingsFromPackage = row.settings;
        EXPECT_EQ(Opened().size(), row.opens ? 1u : 0u) << &row - rows;
    }
}

}  // namespace
