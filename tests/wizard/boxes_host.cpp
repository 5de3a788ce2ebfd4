// Tests of the wizard that need the embedded machine: its calls are counted or fail, and Startup folders have names that the test chooses.
#include "harness/registry_values.h"
#include <winhost.h>
#include "wizard/wizard_run.h"

namespace {

class WizardBoxes : public WizardTest {};

TEST_F(WizardBoxes, BrowserOfFoldersNeedsCom) {
    winhost::SetFaults({});
    RunAt(2, [](const Driver& wizard) { Browse(wizard, std::nullopt); });
    EXPECT_EQ(winhost::CallCounts()["CoInitialize"], 1u);
}

// A shortcut that the shell refuses brings its box in the middle of the install.
TEST_F(WizardBoxes, BoxOfAShortcutAllowsNoSecondBox) {
    g_sourceDir = TEXT("C:\\Scratch\\package");
    winhost::ClearEvents();
    const auto person = [](const Driver& wizard) {
        wizard.PressOk(4);
        winhost::SetFaults({{.call = "IShellLinkW::SetPath", .nth = 1}});
        const BoxAnswers answers({kLeftOpen});
        const Driver box = wizard.Open(wizard.Control(IDOK), kProductName);
        Disturb(wizard);
        EXPECT_TRUE(IsWindow(box.Window()) && !IsWindowEnabled(wizard.Window()));
        EXPECT_EQ(answers.Shown().size(), 1u);
        EXPECT_EQ(StepOn(wizard), 5);
        box.Press(IDOK);
        wizard.Await("the enabled button", [&] { return IsWindowEnabled(wizard.Control(IDOK)) != 0; });
        EXPECT_EQ(StepOn(wizard), 5);
        wizard.Press(IDOK);
    };
    EXPECT_EQ(Run(person), IDOK);
    winhost::SetFaults({});
    std::vector<std::string> cursors = winhost::Events();
    std::erase_if(cursors, [](const std::string& event) { return !event.starts_with("set-cursor"); });
    EXPECT_EQ(cursors, (std::vector<std::string>{"set-cursor\t32514", "set-cursor\t32512"}))
        << "IDC_WAIT, IDC_ARROW";
}

// The names of both Startup folders are refused, in upper and lower case.
TEST_F(WizardBoxes, RefuseTheNameOfEachStartupFolder) {
    const Text key = TEXT("SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders");
    const struct {
        HKEY hive;
        LPCWSTR value, name;
    } folders[] = {
        {HKEY_CURRENT_USER, TEXT("Startup"), TEXT("Own Start")},
        {HKEY_LOCAL_MACHINE, TEXT("Common Startup"), TEXT("ALL Start")},
    };
    for (const auto& folder : folders)
        PutValue(folder.hive, key, folder.value, Sz(TEXT("C:\\Scratch\\") + Text(folder.name)));
    RunAt(3, [&](const Driver& wizard) {
        for (const LPCWSTR name : {TEXT("OWN start"), TEXT("all START")}) {
            wizard.Type(wizard.PageControl(IDC_GROUP), name);
            Press(wizard, IDOK, {Resource(IDS_GROUP_INVALID)});
        }
    });
    for (const auto& folder : folders)
        DeleteKeyTree(folder.hive, key);
}

}  // namespace
