// What a run does last, and which copies it closes. Only the embedded machine tells about restarts and pages, and makes calls fail.
#include "end_to_end/run.h"
#include "instances/instance_manager.h"
#include "resource.h"
#include <winhost.h>

namespace {

const std::string kFolder = "C:\\Program Files\\Qantivo 8";
const std::string kStart = "start-process\t\"" + kFolder + "\\QtvApp8.exe\"\t" + kFolder;
// EWX_REBOOT, and the reason: planned, an application, an installation.
const std::string kRestart = "exit-windows\t2\t2147745794";
const std::string kWebPage =
    "shell-execute\topen\thttp://www.lorvanta.example/qvdx/"
    "InstScript.asp?product=qantivo&edition=8&Lang=EN\t5";

class LastStep : public EndToEndTest {
  protected:
    using Events = std::vector<std::string>;
    // Returns what follows the registration of the product.
    Events Last(const Text& arguments, const Person& person = {}) {
        winhost::ClearEvents();
        EXPECT_EQ(Setup(arguments, person), 0u);
        Events events = winhost::Events();
        const auto registers = [](const std::string& event) {
            return event.find(" -regonly\t") != event.npos;
        };
        events.erase(events.begin(), std::ranges::find_if(events, registers));
        std::erase_if(
            events, [&](const auto& event) { return registers(event) || event.starts_with("set-cursor\t"); });
        return events;
    }
};

// A restart replaces the start of the product. It comes only if it was asked for.
TEST_F(LastStep, RestartsOnlyWhenAReplacementWaits) {
    EXPECT_EQ(Last(TEXT("-s")), Events());
    const Events events = winhost::Events();
    ASSERT_GE(events.size(), 2u);
    EXPECT_EQ(Events(events.end() - 2, events.end()),
              (Events{"start-process\tregsvr32.exe /s \"" + kFolder + "\\ThumbQvi32.dll\"\t" + kFolder,
                      "start-process\t\"" + kFolder + "\\QtvApp8.exe\" -regonly\t" + kFolder}));
    const struct {
        Text arguments = TEXT("-s -runafter");
        bool held = true, token = true;
        unsigned tries = 0;  // to restart the machine
        Events last = {};
    } rows[] = {
        {.held = false, .last = {kStart}},
        {.arguments = TEXT("-s")},
        {.tries = 1, .last = {kRestart}},
        // Without the function, setup tries it without the privilege.
        {.token = false, .tries = 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        winhost::SetProgramFaults("setup.exe", {});
        winhost::HideFunction("OpenProcessToken", !row.token);
        std::optional<HeldFile> held;
        if (row.held) held.emplace(Wide(kFolder) + TEXT("\\QtvApp8Man.chm"), Hold::NoDelete);
        EXPECT_EQ(Last(row.arguments), row.last);
        EXPECT_EQ(winhost::ProgramCallCounts()["ExitWindowsEx"], row.tries);
        held.reset();
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
    const Events events = winhost::Events();
    ASSERT_EQ(events.size(), 3u) << "the start, the box, and then the page";
    EXPECT_EQ(events[2], "shell-execute\topen\thttp://www.lorvanta.example/\t5");
}

// In the wizard, the web page comes first. The product or the restart follows if the box is ticked.
TEST_F(LastStep, ComesAfterTheWebPageInTheWizard) {
    const auto person = [](const Driver& wizard) {
        wizard.PressOk(5);
        // The box is ticked already if a restart is needed.
        if (!IsTicked(wizard.PageControl(IDC_RUN_AFTER))) wizard.PressInPage(IDC_RUN_AFTER);
        wizard.Press(IDOK);
    };
    EXPECT_EQ(Last({}, person), (Events{kWebPage, kStart}));
    SetFileVersion(Wide(kFolder) + TEXT("\\QtvApp8.exe"), 8, 4, 0, 0);
    const HeldFile held(Wide(kFolder) + TEXT("\\QtvApp8Man.chm"), Hold::NoDelete);
    EXPECT_EQ(Last({}, person), (Events{kWebPage, kRestart}));
}

class ClosedCopies : public EndToEndTest {};

// If the list can be counted but not read, the copies stay.
TEST_F(ClosedCopies, AreThoseOfTheList) {
    const RunningProgram copy = StartCopy(package);
    winhost::SetProgramFaults("setup.exe", {{.call = "MapViewOfFile", .nth = 3}});
    EXPECT_EQ(Setup(TEXT("-install -s -instdir C:\\Scratch\\Qantivo")), 0u);
    winhost::ClearProgramFaults();
    EXPECT_TRUE(copy.Runs() && Exists(target + TEXT("\\QtvUnInst.log")));
}

// If setup can't open a copy's process, the application itself decides how it ends.
TEST_F(ClosedCopies, GetTheMessageThatSetupClosesThem) {
    const RunningProgram copy = StartCopy(package);
    COXInstanceManager list(TEXT("Lorvanta.Qantivo-ZR.v4"), 1024, false);
    EXPECT_EQ(list.CountInstances(), 1);
    winhost::SetProgramFaults("setup.exe", {{.call = "OpenProcess"}});
    Setup(TEXT("-install -s -instdir C:\\Scratch\\Qantivo"));
    EXPECT_GT(winhost::ProgramCallCounts()["OpenProcess"], 0u);
    winhost::ClearProgramFaults();
    EXPECT_EQ(copy.ExitCode(), 1001u);
    EXPECT_EQ(list.CountInstances(), 0) << "setup has left it, too";
}

}  // namespace
