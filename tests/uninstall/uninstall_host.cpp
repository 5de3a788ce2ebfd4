// Tests of the uninstall that need a failing call, or the events and handles of the embedded machine.
#include <sstream>

#include "run/process_helpers.h"
#include "app/setup_state.h"
#include "harness/registry_values.h"
#include "harness/target.h"
#include "support/shell_folders.h"
#include "uninstall/file_associations.h"
#include "uninstall/registry_purge.h"
#include "uninstall/relaunch.h"
#include "uninstall/uninstall_driver.h"
#include <winhost.h>

namespace {

using UninstallFaults = ScratchTest;

// Nothing of a program that was started stays open.
TEST_F(UninstallFaults, ApplicationIsStartedToUnregisterItself) {
    ImportFile("package/QtvApp8.exe", kScratch + TEXT("\\QtvApp8.exe"));
    MakeFile(kScratch + TEXT("\\QtvUnInst.log"));
    winhost::ClearEvents();
    const unsigned handles = winhost::OpenHandles();
    PerformUninstall(TEXT("C:\\Scratch\\"));
    EXPECT_LE(winhost::OpenHandles(), handles + 1) << "the key of the file extensions";
    EXPECT_EQ(winhost::Events(), std::vector<std::string>{
                                     "start-process\t\"C:\\Scratch\\QtvApp8.exe\" -unregonly\tC:\\Scratch"});
}

// The shell is told once when a choice goes or comes back, and otherwise never.
TEST_F(UninstallFaults, ShellIsNotifiedOfAChange) {
    const Text key = TEXT("Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\FileExts");
    for (const DWORD version : {5, 10})
        for (const bool told : {true, false}) {
            const StoredValue choice = Sz(told ? TEXT("Applications\\QtvApp8.exe") : TEXT("Other.Picture"));
            g_osVersion.dwMajorVersion = version;
            for (const Text extension : {TEXT("\\.bmp"), TEXT("\\.png")}) {
                PutValue(HKEY_CURRENT_USER, key + extension, TEXT("Application"), choice);
                PutValue(HKEY_CURRENT_USER, key + extension + TEXT("\\UserChoice"), TEXT("Progid"), choice);
                PutValue(HKEY_CURRENT_USER, key + extension, TEXT("QtvAppOld"), Sz(TEXT("old.exe")));
            }
            winhost::ClearEvents();
            RestoreFileAssociations();
            // SHCNE_ASSOCCHANGED
            EXPECT_EQ(winhost::Events(), std::vector<std::string>(told, "change-notify\t134217728"));
            DeleteKeyTree(HKEY_CURRENT_USER, key);
        }
}

// A shell folder whose path has four characters or fewer counts as none.
TEST_F(UninstallFaults, ShellFoldersWithShortPathsAreIgnored) {
    const Text key = TEXT("SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders");
    for (const Text folder : {TEXT("C:\\a"), TEXT("C:\\ab")}) {
        for (const LPCWSTR value : {TEXT("Common Startup"), TEXT("Common Desktop"), TEXT("Common Programs")})
            PutValue(HKEY_LOCAL_MACHINE, key, value, Sz(folder));
        MakeFile(folder + TEXT("\\Qantivo 8.lnk"));
        MakeFolder(folder + TEXT("\\Qantivo 8"));
        PerformUninstall(TEXT("C:\\Scratch\\none\\"));
        EXPECT_EQ(Tree(folder).size(), folder.size() == 4 ? 2u : 0u);
        DeleteTree(folder);
    }
    DeleteKeyTree(HKEY_LOCAL_MACHINE, key);
}

// The browser reads the 64-bit view of the registry, whatever the bits of the uninstaller.
TEST_F(UninstallFaults, BrowserKeysAreThoseOfThe64BitView) {
    for (const bool wow64 : {false, true}) {
        if (wow64) g_isWow64Process = [](HANDLE, PBOOL is) -> BOOL { return *is = TRUE; };
        winhost::SetFaults({});
        PurgeRegistry(TEXT("Lorvanta"), kProductName, kProductName, kApplicationFile);
        EXPECT_EQ(winhost::CallCounts()["RegOpenKeyExW, 64-bit view"], wow64 ? 2u : 0u);
    }
}

// Whichever call fails, only the item of that call stays. Only the handle of the file extensions' key is left open.
TEST_F(UninstallFaults, FailureAffectsOnlyItsOwnItem) {
    const Text first = TEXT(".DEFAULT"), bob = TEXT("S-1-5-21-1000-1000-1000-1002"),
               product = TEXT("\\Software\\Lorvanta\\Qantivo 8"), desktop = kScratch + TEXT("\\");
    const std::pair<std::string, Text> items[] = {{"a ", first + product + TEXT("\\a")},
                                                  {"b ", first + product + TEXT("\\b")},
                                                  {"Bob's ", bob + product}};
    const std::pair<std::string, Text> links[] = {{"first link ", first}, {"Bob's link ", bob}};
    const std::pair<std::string, std::set<std::string>> rows[] = {
        {"RegOpenKeyExW", {"", "a b ", "Bob's ", "first link ", "Bob's link "}},
        {"RegDeleteKeyW", {"", "a ", "b ", "Bob's "}},
        {"DeleteFileW", {"", "first link ", "Bob's link "}},
    };
    for (const auto& [call, expected] : rows) {
        std::set<std::string> stayed;
        bool failed = true;
        for (unsigned nth = 1; failed; ++nth) {
            for (const auto& [name, path] : items)
                PutValue(HKEY_USERS, path, nullptr, Number(1));
            for (const auto& [name, user] : links) {
                PutValue(HKEY_USERS, user + TEXT("\\") + kShellFoldersKey, TEXT("Desktop"),
                         Sz(desktop + user));
                MakeFile(desktop + user + TEXT("\\Qantivo 8.lnk"));
            }
            const unsigned handles = winhost::OpenHandles();
            winhost::SetFaults({{.call = call, .nth = nth}});
            PerformUninstall(TEXT("C:\\Scratch\\none\\"));
            failed = winhost::CallCounts()[call] >= nth;
            winhost::SetFaults({});
            EXPECT_LE(winhost::OpenHandles(), handles + 1) << call << nth;
            std::string left;
            for (const auto& [name, path] : items)
                if (HasKey(HKEY_USERS, path)) left += name;
            for (const auto& [name, user] : links)
                if (Exists(desktop + user + TEXT("\\Qantivo 8.lnk"))) left += name;
            stayed.insert(left);
        }
        EXPECT_EQ(stayed, expected) << call;
    }
}

// If the copy can't be made, nothing is started. A temporary file that was made stays.
TEST_F(UninstallFaults, MissingCopyEndsTheUninstall) {
    const auto files = [] { return Tree(TEXT("C:\\Users\\Ann\\AppData\\Local\\Temp")).size(); };
    for (const std::string call : {"GetTempPathW", "GetTempFileNameW", "GetModuleFileNameW", "CopyFileW"}) {
        const std::size_t before = files();
        winhost::ClearEvents();
        winhost::SetFaults({{.call = call}});
        RelaunchFromTemp();
        winhost::SetFaults({});
        EXPECT_TRUE(winhost::Events().empty()) << call;
        EXPECT_EQ(files(), before + !call.starts_with("GetTemp")) << call;
    }
}

// The uninstaller's copy, or a program that the copy starts and that takes the time in the file "takes".
CHILD_PROGRAM(CopyOfSlowPrograms) {
    const Text begun = kScratch + TEXT("\\begun");
    MakeFile(begun, FileBytes(begun).value_or("") + std::to_string(GetTickCount()) + "\n");
    g_silentMode = 1;
    if (Text(__wargv[1]) == TEXT("-delself")) RunTemporaryCopy();
    Sleep(static_cast<DWORD>(std::stoul(FileBytes(kScratch + TEXT("\\takes")).value_or(""))));
    return 0;
}

CHILD_PROGRAM(CopyOnASystemWithoutAHandler) {
    g_silentMode = 1;
    g_osVersion.dwMajorVersion = 5;
    g_isWow64Process = [](HANDLE, PBOOL is) -> BOOL { return *is = TRUE; };
    RunTemporaryCopy();
}

// The copy leaves the first process a second to end. It waits five for the registrar and five for the application, then
// it goes on while they run.
TEST_F(UninstallFaults, WaitsForOtherProgramsForALimitedTime) {
    (void)SetVirtualClock(true);
    for (const DWORD takes : {0, 4'999, 5'001}) {
        MakeFile(kScratch + TEXT("\\takes"), std::to_string(takes));
        MakeFile(kScratch + TEXT("\\q\\QtvUnInst.log"), "File Copy: QtvApp8.exe\n");
        // The system searches for the registrar in the folder of the copy first.
        for (const LPCWSTR program : {TEXT("\\regsvr32.exe"), TEXT("\\q\\QtvApp8.exe")})
            ImportFile(OwnProgram().string(), kScratch + program);
        EXPECT_EQ(RunChild("CopyOfSlowPrograms", kScratch + TEXT("\\copy.exe"),
                           TEXT("-delself C:\\Scratch\\q\\QtvUnInst.exe")),
                  0u);
        std::istringstream begun(FileBytes(kScratch + TEXT("\\begun")).value_or(""));
        DWORD copy = 0, registrar = 0, application = 0;
        begun >> copy >> registrar >> application;
        EXPECT_EQ(registrar - copy, 1'000u);
        EXPECT_EQ(application - registrar, std::min<DWORD>(takes, 5'000));
        EXPECT_EQ(Exists(kScratch + TEXT("\\q\\QtvApp8.exe")), takes > 5'000) << "it is in use";
        DeleteTree(kScratch + TEXT("\\begun"));
        RestartMachine();
    }
    (void)SetVirtualClock(false);
}

// Another drive than the current one. Only the copy itself is started.
TEST_F(UninstallFaults, CopyWorksOnTheDriveThatItIsTold) {
    MakeFile(TEXT("D:\\q\\QtvUnInst.log"));
    winhost::ClearEvents();
    EXPECT_EQ(RunChild("CopyOnASystemWithoutAHandler", kScratch + TEXT("\\copy.exe"),
                       TEXT("-delself D:\\q\\QtvUnInst.exe")),
              0u);
    EXPECT_FALSE(Exists(TEXT("D:\\q")));
    EXPECT_EQ(winhost::Events().size(), 1u);
}

}  // namespace
