// The keyboard on each page of the wizard.
#include "wizard/wizard_run.h"

namespace {

class Keyboard : public WizardTest {};

// Moves the focus to a control of the page or the frame, as a key does.
void FocusOn(const Driver& wizard, int control) {
    const HWND window = control > IDC_BACK ? wizard.PageControl(control) : wizard.Control(control);
    (void)SendMessageW(wizard.Window(), WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(window), TRUE);
    EXPECT_EQ(wizard.Focus(), control);
}

// Each page starts with the focus on Next, and Tab goes around from there.
TEST_F(Keyboard, TabGoesAroundThroughPageAndFrame) {
    const std::vector<int> rounds[] = {{IDOK, IDCANCEL},
                                       {IDOK, IDCANCEL, IDC_AGREEMENT, IDC_BACK},
                                       {IDOK, IDCANCEL, IDC_FOR_USER, IDC_BROWSE, IDC_BACK},
                                       {IDOK, IDCANCEL, IDC_GROUP, IDC_AUTOSTART, IDC_DESKTOP, IDC_BACK},
                                       {IDOK, IDCANCEL, IDC_BACK},
                                       {IDOK, IDC_RUN_AFTER}};
    const auto around = [&](const Driver& wizard, const std::vector<int>& round) {
        EXPECT_EQ(wizard.Focus(), IDOK);
        for (const bool back : {false, true})
            for (std::size_t i = 1; i <= round.size(); ++i) {
                wizard.Key(WM_KEYDOWN, VK_TAB, back);
                EXPECT_EQ(wizard.Focus(), round[(back ? round.size() - i : i) % round.size()]) << i << back;
            }
    };
    RunAt(0, [&](const Driver& wizard) {
        for (int step = 0; step < 5; ++step) {
            SCOPED_TRACE(step);
            around(wizard, rounds[step]);
            if (step < 4) wizard.Press(IDOK);
        }
    });
    RunLastPage([&](const Driver& wizard) {
        around(wizard, rounds[5]);
        wizard.Press(IDOK);
    });
}

TEST_F(Keyboard, FrameHandlesEnterEscapeAndAccessKeys) {
    enum Result { Nothing, Next, Back, Asks, Browses };
    constexpr WPARAM kEnter = VK_RETURN, kEscape = VK_ESCAPE;
    const struct {
        int step, focus;
        WPARAM key;  // a letter is pressed with Alt
        Result result;
    } rows[] = {
        {0, IDOK, kEnter, Next},
        {0, IDCANCEL, kEnter, Asks},
        {0, IDOK, kEscape, Asks},
        {0, IDOK, 'n', Next},
        {0, IDOK, 'b', Nothing},  // hidden
        {1, IDOK, kEnter, Next},
        {1, IDC_BACK, kEnter, Back},
        {1, IDC_AGREEMENT, kEnter, Nothing},  // nobody accepts what is still being read
        {1, IDC_AGREEMENT, kEscape, Asks},
        {1, IDCANCEL, kEscape, Asks},
        {1, IDC_AGREEMENT, 'b', Back},
        {1, IDC_AGREEMENT, 'n', Nothing},  // "Yes" and "No" have no keys
        {2, IDC_FOR_USER, kEnter, Next},
        {2, IDC_BROWSE, kEnter, Browses},
        {2, IDC_FOR_USER, 'r', Browses},
        {2, IDC_FOR_USER, kEscape, Asks},
        {2, IDC_BROWSE, 'n', Next},
        {2, IDC_FOR_USER, 'b', Back},
        {3, IDC_GROUP, kEnter, Next},
        {3, IDC_DESKTOP, kEnter, Next},
        {3, IDC_GROUP, kEscape, Asks},
        {3, IDC_GROUP, 'n', Next},
        {3, IDC_AUTOSTART, 'b', Back},
        {4, IDC_BACK, kEnter, Back},
        {4, IDOK, kEscape, Asks},
        {4, IDOK, 'b', Back},
    };
    RunAt(0, [&](const Driver& wizard) {
        int step = 0;
        for (const auto& row : rows) {
            SCOPED_TRACE(::testing::Message() << row.step << ": " << row.focus << ", " << row.key);
            wizard.PressOk(row.step - std::exchange(step, row.step));
            FocusOn(wizard, row.focus);
            const BoxAnswers answers(row.result == Asks ? std::vector{IDNO} : std::vector<int>{});
            wizard.Key(row.key == kEnter || row.key == kEscape ? WM_KEYDOWN : WM_SYSCHAR, row.key);
            if (row.result == Browses)
                Driver(GetCurrentProcessId(), TEXT("Browse For Folder")).Press(IDCANCEL);
            wizard.Await("the end of what the key opens", [&] {
                return answers.Shown().size() == (row.result == Asks) && IsWindowEnabled(wizard.Window());
            });
            EXPECT_EQ(StepOn(wizard), row.step + (row.result == Next) - (row.result == Back));
            EXPECT_TRUE(row.result != Back || row.step == 2 || wizard.Focus() == IDOK) << wizard.Focus();
            if (row.result == Next) wizard.Press(IDC_BACK);
            if (row.result == Back) wizard.Press(IDOK);
        }
    });
}

TEST_F(Keyboard, EditsTheGroupAndOnlyMovesInTheAgreement) {
    MakeFile(TEXT("agreement.txt"), std::string("T\0e\0x\0t\0", 8));
    RunAt(1, [&](const Driver& wizard) {
        const HWND agreement = wizard.PageControl(IDC_AGREEMENT);
        const Text text = TextOf(agreement);
        FocusOn(wizard, IDC_AGREEMENT);
        for (const WPARAM key : {VK_DOWN, VK_NEXT, VK_END, VK_UP, VK_PRIOR, VK_HOME, VK_DELETE})
            wizard.Key(WM_KEYDOWN, key);
        wizard.Key(WM_KEYDOWN, VK_HOME, false, true);
        wizard.Key(WM_KEYDOWN, VK_RIGHT, true);
        wizard.Key(WM_KEYDOWN, 'C', false, true);
        EXPECT_EQ(TextOf(agreement), text);
        wizard.PressOk(2);

        FocusOn(wizard, IDC_GROUP);
        const HWND group = wizard.PageControl(IDC_GROUP);
        const Text all = TextOf(group).substr(0, TextOf(group).size() - 1);
        wizard.Key(WM_KEYDOWN, VK_END);
        wizard.Key(WM_KEYDOWN, VK_BACK);
        wizard.Key(WM_KEYDOWN, 'V', false, true);
        EXPECT_EQ(TextOf(group), all + text[0]);
    });
}

TEST_F(Keyboard, FinishesTheLastPage) {
    for (const auto& stroke : {std::pair{WM_KEYDOWN, VK_RETURN}, std::pair{WM_SYSCHAR, int{'f'}}})
        RunLastPage([stroke](const Driver& wizard) {
            wizard.Key(WM_KEYDOWN, VK_ESCAPE);
            wizard.Key(WM_SYSCHAR, 'b');
            EXPECT_EQ(StepOn(wizard), 5);
            FocusOn(wizard, IDC_RUN_AFTER);
            wizard.Key(stroke.first, static_cast<WPARAM>(stroke.second));
        });
}

}  // namespace
