// Whole installs in the wizard: the built program runs from a real package folder and is used from outside.
#include "end_to_end/run.h"
#include "resource.h"

namespace {

class Wizard : public EndToEndTest {};

TEST_F(Wizard, InstallsWhatItsPagesSayAndStartsTheProduct) {
    const auto person = [](const Driver& wizard) {
        wizard.Press(IDOK);
        EXPECT_NE(TextOf(wizard.PageControl(IDC_AGREEMENT)).find(TEXT("Qantivo")), Text::npos);
        wizard.Press(IDOK);
        wizard.PressInPage(IDC_FOR_ALL);
        wizard.Press(IDOK);
        wizard.Type(wizard.PageControl(IDC_GROUP), TEXT(" Qantivo Imaging\\Pictures "));
        wizard.PressInPage(IDC_AUTOSTART);
        wizard.PressInPage(IDC_DESKTOP);
        wizard.Press(IDOK);
        // The second click of a double click finds the button disabled and is ignored.
        for (int click = 0; click < 2; ++click)
            EXPECT_TRUE(PostMessageW(wizard.Control(IDOK), WM_KEYDOWN, VK_RETURN, 0));
        wizard.Await("Finish", [&] { return TextOf(wizard.Control(IDOK)) == TEXT("&Finish >"); });
        wizard.PressInPage(IDC_RUN_AFTER);
        wizard.Press(IDOK);
    };
    EXPECT_EQ(Setup({}, person), 0u);
    State expected = Installed({.target = "C:\\Program Files\\Qantivo 8",
                                .allUsers = true,
                                .group = "Qantivo Imaging\\Pictures",
                                .desktopIcon = false,
                                .autoStart = true});
    expected["HKCU\\Software\\Lorvanta\\Qantivo 8\\ : Starts"] = "REG_DWORD 1";
    EXPECT_TRUE(Same(expected, Changes()));
}

// The wizard asks before it replaces the same version. What can't be replaced at once waits for the restart that the last page asks for.
TEST_F(Wizard, ReplacesWhatTheUserAgreesToReplace) {
    const Text help = Where("C:\\Program Files\\Qantivo 8\\QtvApp8Man.chm");
    const auto finish = [&](const Driver& wizard) {
        EXPECT_TRUE(Exists(help)) << "with -sconf only the last page is shown";
        EXPECT_FALSE(IsWindowEnabled(wizard.Control(IDC_BACK)));
        wizard.Press(IDOK);
    };
    EXPECT_EQ(Setup(TEXT("-sconf"), finish), 0u);
    MakeFile(help, "help of an earlier version");
    Rebase();
    {
        const BoxAnswers answers({IDNO});
        EXPECT_EQ(Setup({}), 0u);
        EXPECT_TRUE(Same({}, Changes()));
    }
    {
        const BoxAnswers answers({IDYES, IDYES});
        EXPECT_EQ(Setup(TEXT("-RunAfter"), [](const Driver& wizard) { wizard.Press(IDCANCEL); }), 0u);
        EXPECT_TRUE(Same({}, Changes())) << "a cancelled install starts nothing";
    }
    const HeldFile held(help, Hold::NoDelete);
    const BoxAnswers answers({IDYES});
    const auto person = [](const Driver& wizard) {
        wizard.PressOk(2);
        EXPECT_TRUE(IsTicked(wizard.PageControl(IDC_FOR_ALL))) << "as it was installed";
        wizard.PressOk(3);
        const HWND box = wizard.PageControl(IDC_RUN_AFTER);
        EXPECT_TRUE(IsTicked(box));
        EXPECT_EQ(TextOf(box), TEXT("Restart the computer when I click \"Finish\""));
        wizard.PressInPage(IDC_RUN_AFTER);
        wizard.Press(IDOK);
    };
    EXPECT_EQ(Setup({}, person), 0u);
    EXPECT_TRUE(answers.Shown().at(0).text.starts_with(TEXT("Qantivo ver. 8.05.02.00 is already installed")));
    EXPECT_EQ(BootMarks().back().second, help) << "the new file takes its place then";
}

}  // namespace
