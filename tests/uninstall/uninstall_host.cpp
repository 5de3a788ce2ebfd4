// The uninstall where only the embedded machine can make a call fail, or tells of starts and handles.
#include <set>

#include "app/setup_state.h"
#include "harness/registry_values.h"
#include "uninstall/relaunch.h"
#include "uninstall/uninstall_driver.h"
#include "winhost.h"

namespace {

class UninstallFaults : public ScratchTest {
  protected:
    ~UninstallFaults() override { winhost::SetFaults({}); }
};

// Whichever call fails, all stays away but what that call was about; no handle is left open but that of the
// file extensions' key.
TEST_F(UninstallFaults, AFailureCostsItsOwnItemAlone) {
    const std::pair<std::string, Text> items[] = {
        {"a ", TEXT(".DEFAULT\\Software\\Lorvanta\\Qantivo 8\\a")},
        {"b ", TEXT(".DEFAULT\\Software\\Lorvanta\\Qantivo 8\\b")},
        {"Bob's ", TEXT("S-1-5-21-1000-1000-1000-1002\\Software\\Lorvanta\\Qantivo 8")},
    };
    const std::pair<std::string, std::set<std::string>> rows[] = {
        {"RegOpenKeyExW", {"", "a b ", "Bob's "}},
        {"RegDeleteKeyW", {"", "a ", "b ", "Bob's "}},
    };
    for (const auto& [call, expected] : rows) {
        std::set<std::string> stayed;
        bool failed = true;
        for (unsigned nth = 1; failed; ++nth) {
            for (const auto& [name, path] : items)
                PutValue(HKEY_USERS, path, nullptr, Number(1));
            const unsigned handles = winhost::OpenHandles();
            winhost::SetFaults({{.call = call, .nth = nth}});
            PerformUninstall(TEXT("C:\\Scratch\\none\\"));
            failed = winhost::CallCounts()[call] >= nth;
            winhost::SetFaults({});
            EXPECT_LE(winhost::OpenHandles(), handles + 1) << call << nth;
            std::string left;
            for (const auto& [name, path] : items)
                if (HasKey(HKEY_USERS, path)) left += name;
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
        EXPECT_TRUE(winhost::Events().empty()) << call;
        EXPECT_EQ(files(), before + !call.starts_with("GetTemp")) << call;
    }
}

}  // namespace
