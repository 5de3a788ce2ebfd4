// The uninstall where only the embedded machine can make a call fail, or tells of notifications and handles.
#include <algorithm>
#include <set>

#include "app/setup_state.h"
#include "support/registry_values.h"
#include "uninstall/file_associations.h"
#include "uninstall/relaunch.h"
#include "uninstall/uninstall_driver.h"
#include "winhost.h"

namespace {

class UninstallFaults : public ScratchTest {
  protected:
    ~UninstallFaults() override { winhost::SetFaults({}); }
    static long Events(const std::string& kind) {
        const std::vector<std::string> events = winhost::Events();
        return std::count_if(events.begin(), events.end(),
                             [&](const std::string& event) { return event.starts_with(kind); });
    }
};

// Whichever call fails, all stays away but what that call was about; no handle is left open but that of the
// file extensions' key.
TEST_F(UninstallFaults, AFailureCostsItsOwnItemAlone) {
    const std::pair<std::string, Text> items[] = {
        {"a ", TEXT(".DEFAULT\\Software\\Lorvanta\\Qantivo 8\\a")},
        {"b ", TEXT(".DEFAULT\\Software\\Lorvanta\\Qantivo 8\\b")},
        {"Bob's ", TEXT("S-1-5-21-1000-1000-1000-1002\\Software\\Lorvanta\\Qantivo 8")},
        {"Ann's link ", TEXT("C:\\Users\\Ann\\Desktop\\Qantivo 8.lnk")},
        {"Bob's link ", TEXT("C:\\Users\\Bob\\Desktop\\Qantivo 8.lnk")},
    };
    const std::pair<std::string, std::set<std::string>> rows[] = {
        {"RegOpenKeyExW", {"", "a b ", "Bob's ", "Ann's link ", "Bob's link "}},
        {"RegDeleteKeyW", {"", "a ", "b ", "Bob's "}},
        {"DeleteFileW", {"", "Ann's link ", "Bob's link "}},
    };
    for (const auto& [call, expected] : rows) {
        std::set<std::string> stayed;
        bool failed = true;
        for (unsigned nth = 1; failed; ++nth) {
            for (const auto& [name, path] : items)
                name.ends_with("link ") ? MakeFile(path) : PutValue(HKEY_USERS, path, nullptr, Number(1));
            const unsigned handles = winhost::OpenHandles();
            winhost::SetFaults({{.call = call, .nth = nth}});
            PerformUninstall(TEXT("C:\\Scratch\\none\\"));
            failed = winhost::CallCounts()[call] >= nth;
            winhost::SetFaults({});
            EXPECT_LE(winhost::OpenHandles(), handles + 1) << call << nth;
            std::string left;
            for (const auto& [name, path] : items)
                if (name.ends_with("link ") ? Exists(path) : HasKey(HKEY_USERS, path)) left += name;
            stayed.insert(left);
        }
        EXPECT_EQ(stayed, expected) << call;
    }
}

// Without a copy nothing is started; the temporary file stays behind.
TEST_F(UninstallFaults, NoCopyNoUninstall) {
    const auto files = [] { return Tree(TEXT("C:\\Users\\Ann\\AppData\\Local\\Temp")).size(); };
    for (const std::string call : {"GetTempPathW", "GetTempFileNameW", "GetModuleFileNameW", "CopyFileW"}) {
        const std::size_t before = files();
        winhost::ClearEvents();
        winhost::SetFaults({{.call = call}});
        RelaunchFromTemp();
        winhost::SetFaults({});
        EXPECT_EQ(Events("start-process"), 0) << call;
        EXPECT_EQ(files(), before + !call.starts_with("GetTemp")) << call;
    }
}

// The shell is told once for all extensions together, and only of a change that counts.
TEST_F(UninstallFaults, ShellIsToldOnce) {
    const struct {
        DWORD major;
        LPCWSTR key, value, text;
        long told;
    } rows[] = {
        {10, TEXT("\\UserChoice"), TEXT("Progid"), TEXT("Applications\\QtvApp8.exe"), 1},
        {10, TEXT("\\UserChoice"), TEXT("Progid"), TEXT("Qantivo.8"), 0},
        {10, TEXT(""), TEXT("QtvAppOld"), TEXT("old.exe"), 0},
        {5, TEXT(""), TEXT("Application"), TEXT("QtvApp8.exe"), 1},
        {5, TEXT(""), TEXT("Application"), TEXT("mspaint.exe"), 0},
    };
    for (const auto& row : rows) {
        for (const LPCWSTR extension : {TEXT(".bmp"), TEXT(".jpg"), TEXT(".qvi")}) {
            const Text key =
                TEXT("Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\FileExts\\") + Text(extension);
            DeleteKeyTree(HKEY_CURRENT_USER, key);
            PutValue(HKEY_CURRENT_USER, key + row.key, row.value, Sz(row.text));
        }
        g_osVersion.dwMajorVersion = row.major;
        const unsigned handles = winhost::OpenHandles();
        winhost::ClearEvents();
        RestoreFileAssociations();
        EXPECT_EQ(winhost::OpenHandles(), handles + 1) << &row - rows;
        RestoreFileAssociations();
        EXPECT_EQ(Events("change-notify"), row.told) << &row - rows;
    }
}

}  // namespace
