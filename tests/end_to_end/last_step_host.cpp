// What a run does last. Only the embedded machine tells about restarts and opened pages.
#include <algorithm>

#include "end_to_end/run.h"
#include "resource.h"
#include <winhost.h>

namespace {

class LastStep : public EndToEndTest {
  protected:
    // The recorded events of one kind.
    static std::vector<std::string> Events(const std::string& kind) {
        std::vector<std::string> events = winhost::Events();
        std::erase_if(events, [&](const std::string& event) { return !event.starts_with(kind + "\t"); });
        return events;
    }
    // Returns how often the product was started without arguments.
    static long Starts() {
        const auto events = Events("start-process");
        return std::count_if(events.begin(), events.end(), [](const std::string& event) {
            return event.find("QtvApp8.exe") != event.npos && event.find("-regonly") == event.npos;
        });
    }
};

// A restart replaces the start of the product. It comes only if it was asked for.
TEST_F(LastStep, RestartsOnlyWhenAReplacementWaits) {
    const Text help = Where("C:\\Program Files\\Qantivo 8\\QtvApp8Man.chm");
    winhost::ClearEvents();
    Setup(TEXT("-s"));
    const std::string folder = "C:\\Program Files\\Qantivo 8";
    const auto started = Events("start-process");
    ASSERT_GE(started.size(), 2u);
    EXPECT_EQ(std::vector(started.end() - 2, started.end()),
              (std::vector{"start-process\tregsvr32.exe /s \"" + folder + "\\ThumbQvi32.dll\"\t" + folder,
                           "start-process\t\"" + folder + "\\QtvApp8.exe\" -regonly\t" + folder}));
    const struct {
        Text arguments;
        bool held = true, token = true;
        long starts = 0;
        unsigned tries = 0;  // to restart the machine
    } rows[] = {
        {.arguments = TEXT("-s -runafter"), .held = false, .starts = 1},
        {.arguments = TEXT("-s")},
        {.arguments = TEXT("-s -runafter"), .tries = 1},
        // Without the function, setup tries it without the privilege.
        {.arguments = TEXT("-s -runafter"), .token = false, .tries = 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        winhost::ClearEvents();
        winhost::SetProgramFaults("setup.exe", {});
        winhost::HideFunction("OpenProcessToken", !row.token);
        {
            std::optional<HeldFile> held;
            if (row.held) held.emplace(help, Hold::NoDelete);
            EXPECT_EQ(Setup(row.arguments), 0u);
        }
        EXPECT_EQ(Starts(), row.starts);
        EXPECT_EQ(winhost::ProgramCallCounts()["ExitWindowsEx"], row.tries);
        // EWX_REBOOT, and the reason: planned, an application, an installation.
        EXPECT_EQ(Events("exit-windows"),
                  std::vector<std::string>(row.token ? row.tries : 0, "exit-windows\t2\t2147745794"));
        RestartMachine();
    }
    winhost::ClearProgramFaults();
    winhost::HideFunction("OpenProcessToken", false);
}

TEST_F(LastStep, DamagedPackageOpensTheHomePage) {
    ASSERT_TRUE(DeleteFileW((package + TEXT("\\QtvUnInst.log")).c_str()));
    winhost::ClearEvents();
    const BoxAnswers answers({IDOK});
    Setup(TEXT("-s"));
    EXPECT_EQ(Events("shell-execute"),
              std::vector<std::string>{"shell-execute\topen\thttp://www.lorvanta.example/\t5"});
    EXPECT_EQ(winhost::Events().back(), Events("shell-execute").back()) << "after the box";
}

// In the wizard, the web page comes first. The product or the restart follows if the box is ticked.
TEST_F(LastStep, ComesAfterTheWebPageInTheWizard) {
    const auto run = [&](bool press) {
        winhost::ClearEvents();
        const auto person = [&](const Driver& wizard) {
            for (int page = 0; page < 5; ++page)
                wizard.Press(IDOK);
            if (press) wizard.PressInPage(IDC_RUN_AFTER);
            wizard.Press(IDOK);
        };
        EXPECT_EQ(Setup({}, person), 0u);
        std::vector<std::string> events = winhost::Events();
        std::erase_if(events, [](const std::string& event) {
            return event.find("-regonly") != event.npos || event.find("setup.exe") != event.npos ||
                   event.find("regsvr32") != event.npos ||
                   !(event.starts_with("shell-execute\t") || event.starts_with("start-process\t") ||
                     event.starts_with("exit-windows\t"));
        });
        for (std::string& event : events)
            event = event.substr(0, event.find('\t', event.find('\t') + 1));
        return events;
    };
    EXPECT_EQ(run(true),
              (std::vector<std::string>{"shell-execute\topen",
                                        "start-process\t\"C:\\Program Files\\Qantivo 8\\QtvApp8.exe\""}));
    SetFileVersion(Where("C:\\Program Files\\Qantivo 8\\QtvApp8.exe"), 8, 4, 0, 0);
    const HeldFile held(Where("C:\\Program Files\\Qantivo 8\\QtvApp8Man.chm"), Hold::NoDelete);
    EXPECT_EQ(run(false), (std::vector<std::string>{"shell-execute\topen", "exit-windows\t2"}));
}

}  // namespace
