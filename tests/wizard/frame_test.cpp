// The frame: its steps and buttons, pages that refuse to close, and the last page.
#include <shlobj.h>

#include <tuple>

#include "support/shell_folders.h"
#include "wizard/wizard_run.h"

namespace {

// The step, the title, the texts of Next and Cancel, and whether Back and the picture are shown.
using Looks = std::tuple<int, Text, Text, Text, bool, bool>;

Looks LooksOf(const Driver& wizard, int step) {
    const HWND next = wizard.Control(IDOK), cancel = wizard.Control(IDCANCEL);
    const bool back = IsShown(wizard.Control(IDC_BACK)), picture = IsShown(wizard.Control(IDC_PICTURE));
    return {step, TextOf(wizard.Window()), TextOf(next), TextOf(cancel), back, picture};
}

Looks LooksAt(int step) {
    if (step == 1)
        return {1, Resource(IDS_ACCEPT_AGREEMENT), Resource(IDS_YES), Resource(IDS_NO), true, false};
    return {step, TEXT("Qantivo Setup"), TEXT("&Next >"), TEXT("Cancel"), step != 0, true};
}

class Frame : public WizardTest {
  protected:
    // Presses Next ('N') and Back ('B') in order, and compares the step after each press. A cancel that is taken back changes nothing.
    static void Walk(const Driver& wizard, const std::string& buttons, const std::vector<int>& steps) {
        ASSERT_EQ(buttons.size(), steps.size());
        for (std::size_t i = 0; i < steps.size(); ++i) {
            wizard.Press(buttons[i] == 'N' ? IDOK : IDC_BACK);
            EXPECT_EQ(LooksOf(wizard, StepOn(wizard)), LooksAt(steps[i])) << "press " << i;
            Press(wizard, IDCANCEL, {Resource(IDS_CONFIRM_CANCEL)}, IDNO);
            EXPECT_EQ(LooksOf(wizard, StepOn(wizard)), LooksAt(steps[i])) << "press " << i;
        }
    }
};

TEST_F(Frame, GoesThroughItsStepsAndBack) {
    RunAt(0, [](const Driver& wizard) {
        EXPECT_EQ(LooksOf(wizard, StepOn(wizard)), LooksAt(0));
        Walk(wizard, "NBNNBNNNBBB", {1, 0, 1, 2, 1, 2, 3, 4, 3, 2, 1});
    });
}

TEST_F(Frame, LeavesTheGroupOutOfAPortableInstall) {
    g_installType = 2;
    RunAt(2, [](const Driver& wizard) {
        Walk(wizard, "NB", {4, 2});
        wizard.PressInPage(IDC_FOR_ALL);
        Walk(wizard, "NN", {3, 4});
        EXPECT_EQ(g_installType, 1);
    });
}

// When the page refuses Back, the step number is already lower. The next press continues from that number, but never
// leads to a step before the first one.
TEST_F(Frame, RefusedBackStillLowersTheStep) {
    RunAt(3, [](const Driver& wizard) {
        const auto refusedBacks = [&](const Text& group, int count) {
            wizard.Type(wizard.PageControl(IDC_GROUP), group);
            while (count-- > 0)
                Press(wizard, IDC_BACK, {Resource(IDS_GROUP_TOO_SHORT)});
            EXPECT_EQ(StepOn(wizard), 3);
            EXPECT_EQ(TextOf(wizard.PageControl(IDC_GROUP)), group) << "what the user typed stays";
            wizard.Type(wizard.PageControl(IDC_GROUP), TEXT("abc"));
        };
        refusedBacks(TEXT(" ab "), 1);
        Walk(wizard, "N", {2});
        wizard.PressInPage(IDC_PORTABLE);
        Press(wizard, IDC_BACK, {Resource(IDS_BROWSE_FIRST)});
        EXPECT_EQ(StepOn(wizard), 2);
        EXPECT_EQ(g_installType, 0) << "nothing is stored";
        wizard.PressInPage(IDC_FOR_USER);
        Walk(wizard, "BNNN", {0, 1, 2, 3});
        refusedBacks(TEXT(""), 3);
        Walk(wizard, "N", {0});
    });
}

// A key or the title bar's cross asks for Cancel whether or not the button can be pressed.
TEST_F(Frame, TakesNoCommandOfADisabledButton) {
    RunLastPage([](const Driver& wizard) {
        for (const int button : {IDCANCEL, IDC_BACK}) {
            EXPECT_FALSE(IsWindowEnabled(wizard.Control(button)));
            (void)SendMessageW(wizard.Window(), WM_COMMAND, static_cast<WPARAM>(button), 0);
        }
        // It takes no command either while it waits for another dialog.
        EnableWindow(wizard.Window(), FALSE);
        (void)SendMessageW(wizard.Window(), WM_COMMAND, IDOK, 0);
        EnableWindow(wizard.Window(), TRUE);
        EXPECT_EQ(StepOn(wizard), 5);
        wizard.Press(IDOK);
    });
}

TEST_F(Frame, EndsOnThePageThatTellsWhatToDoNext) {
    const Text portable = TEXT("To run portable Qantivo, double-click 'StartQV8' icon located at:\nD:\\Apps");
    const struct {
        int type = 1, rebootNeeded = 0;
        LPCWSTR target = TEXT("D:\\Apps\\Qantivo 8");
        bool boxShown = true, ticked = false, press = false;
        int runAfter = 0;
    } rows[] = {
        {.type = 1},
        {.type = 0, .press = true, .runAfter = 1},
        {.rebootNeeded = 1, .ticked = true, .runAfter = 1},
        {.rebootNeeded = 1, .ticked = true, .press = true},
        {.type = 2, .target = TEXT("D:\\Apps\\Qantivo 8\\"), .boxShown = false},
        // The tick counts even if the box isn't shown.
        {.type = 2, .rebootNeeded = 1, .boxShown = false, .ticked = true, .runAfter = 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        g_installType = row.type;
        g_rebootNeeded = row.rebootNeeded;
        g_targetDir = row.target;
        g_runAfter = 7;
        RunLastPage([&](const Driver& wizard) {
            const HWND box = wizard.PageControl(IDC_RUN_AFTER);
            const HWND note = wizard.PageControl(IDC_WAIT_OR_PORTABLE);
            EXPECT_EQ(TextOf(wizard.Control(IDOK)), Resource(IDS_FINISH));
            EXPECT_TRUE(IsShown(wizard.Control(IDC_BACK)));
            EXPECT_EQ(TextOf(wizard.PageControl(IDC_HEADLINE)),
                      TEXT("Qantivo 8.05.02 has been successfully installed."));
            EXPECT_EQ(TextOf(wizard.PageControl(IDC_ADVICE)),
                      Resource(row.rebootNeeded ? IDS_RESTART_NEEDED : IDS_PRESS_FINISH));
            EXPECT_EQ(TextOf(box), row.rebootNeeded ? Resource(IDS_RESTART_ON_FINISH) : TEXT("Run Qantivo"));
            EXPECT_EQ(IsShown(box), row.boxShown);
            EXPECT_EQ(IsTicked(box), row.ticked);
            EXPECT_TRUE(IsShown(wizard.PageControl(IDC_HEADLINE)) && IsShown(wizard.PageControl(IDC_ADVICE)));
            EXPECT_EQ(IsShown(note), !row.boxShown);
            EXPECT_TRUE(row.boxShown || TextOf(note) == portable) << ::testing::PrintToString(TextOf(note));
            if (row.press) wizard.Press(box);
            wizard.Press(IDOK);
        });
        EXPECT_EQ(g_runAfter, row.runAfter);
    }
    EXPECT_FALSE(Exists(Text(GetShellFolder(CSIDL_PROGRAMS)) + TEXT("\\Qantivo 8"))) << "no install runs";
}

// While the install runs, Next is disabled and no page is shown.
TEST_F(Frame, ShowsNoPageDuringTheInstall) {
    for (int number = 0; number < 300; ++number)
        MakeFile(kScratch + TEXT("\\package\\a") + Wide(std::to_string(number)));
    MakeFile(kScratch + TEXT("\\package\\QtvUnInst.log"), "File Copy: a*\r\n");
    g_sourceDir = (kScratch + TEXT("\\package")).c_str();
    const auto person = [](const Driver& wizard) {
        const HWND next = wizard.Control(IDOK), ready = wizard.Page();
        int looks = 0;
        EXPECT_TRUE(PostMessageW(next, BM_CLICK, 0, 0));
        wizard.Await("the last page", [&] {
            const HWND page = wizard.Page();
            const bool seen = page && page != ready && IsShown(page);
            if (IsWindowEnabled(next)) return seen;
            // A key pressed meanwhile presses nothing later.
            EXPECT_TRUE(looks++ > 0 || PostMessageW(next, WM_KEYDOWN, VK_RETURN, 0));
            EXPECT_FALSE(seen);
            return false;
        });
        EXPECT_GT(looks, 0);
        wizard.Press(IDOK);
    };
    EXPECT_EQ(Run(person, 3), IDOK);
}

// A page is placed to the right of the picture, and the agreement in the corner of the frame.
TEST_F(Frame, PlacesItsPages) {
    RunAt(0, [](const Driver& wizard) {
        for (const int step : {0, 1, 2}) {
            RECT page = {}, picture = {};
            EXPECT_TRUE(GetWindowRect(wizard.Page(), &page));
            EXPECT_TRUE(GetWindowRect(wizard.Control(IDC_PICTURE), &picture));
            POINT corner = {0, 0};
            EXPECT_TRUE(ClientToScreen(wizard.Window(), &corner));
            EXPECT_EQ(page.left, step == 1 ? corner.x + 4 : picture.right + 4);
            EXPECT_EQ(page.top, step == 1 ? corner.y + 4 : picture.top);
            if (step != 2) wizard.Press(IDOK);
        }
    });
}

}  // namespace
