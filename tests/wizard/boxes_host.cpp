// Tests of the wizard that need the embedded machine: the styles of its boxes, and Startup folders with names that
// the test chooses.
#include <algorithm>

#include "harness/registry_values.h"
#include "winhost.h"
#include "wizard/folder_dlg.h"
#include "wizard/wizard_run.h"

namespace {

class WizardBoxes : public WizardTest {};

TEST_F(WizardBoxes, HaveOneButtonOrAskWithNoForTheDefault) {
    winhost::ClearEvents();
    winhost::SetFaults({});
    MakeFile(TEXT("C:\\Scratch\\old\\QtvApp6.exe"));
    RunAt(2, [](const Driver& wizard) {
        Browse(wizard, TEXT("C:\\Scratch\\old"), {Resource(IDS_OLDER_VERSION_FOLDER)});
        wizard.PressInPage(IDC_PORTABLE);
        Press(wizard, IDOK, {Resource(IDS_BROWSE_FIRST)});
    });
    EXPECT_EQ(winhost::CallCounts()["CoInitialize"], 1u) << "for the browser";
    g_installType = 0;
    RunAt(3, [](const Driver& wizard) {
        wizard.Type(wizard.PageControl(IDC_GROUP), TEXT("ab"));
        Press(wizard, IDOK, {Resource(IDS_GROUP_TOO_SHORT)});
        wizard.Type(wizard.PageControl(IDC_GROUP), TEXT("startup"));
        Press(wizard, IDOK, {Resource(IDS_GROUP_INVALID)});
    });
    const BoxAnswers answers({IDOK});
    (void)BrowseCallbackProc(nullptr, BFFM_VALIDATEFAILEDW, 0, 0);
    std::vector<std::string> styles;
    for (const std::string& event : winhost::Events())
        if (event.starts_with("message-box\t"))
            styles.push_back(event.substr(event.rfind('\t', event.rfind('\t') - 1) + 1));
    // MB_YESNO, MB_ICONQUESTION and MB_DEFBUTTON2 together are 292.
    EXPECT_EQ(styles, (std::vector<std::string>{"0\t1", "0\t1", "292\t6", "0\t1", "0\t1", "292\t6", "0\t1"}));
}

// A shortcut that the shell refuses brings its box in the middle of the install.
TEST_F(WizardBoxes, OfAShortcutStayAloneWhateverComes) {
    g_sourceDir = TEXT("C:\\Scratch\\package");
    winhost::ClearEvents();
    EXPECT_EQ(Run([](const Driver& wizard) {
                  for (int step = 0; step < 4; ++step)
                      wizard.Press(IDOK);
                  winhost::SetFaults({{.call = "IShellLinkW::SetPath", .nth = 1}});
                  const BoxAnswers answers({kLeftOpen});
                  const Driver box = wizard.Open(wizard.Control(IDOK), kProductName);
                  Disturb(wizard);
                  EXPECT_TRUE(IsWindow(box.Window()) && !IsWindowEnabled(wizard.Window()));
                  EXPECT_EQ(answers.Shown().size(), 1u);
                  EXPECT_EQ(StepOn(wizard), 5);
                  box.Press(IDOK);
                  wizard.Await("the enabled button",
                               [&] { return IsWindowEnabled(wizard.Control(IDOK)) != 0; });
                  EXPECT_EQ(StepOn(wizard), 5);
                  wizard.Press(IDOK);
              }),
              IDOK);
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
