// Whole installs by the wizard: the built program from a real package folder, driven from outside.
#include "end_to_end/run.h"
#include "resource.h"

namespace {

class Wizard : public EndToEndTest {
  protected:
    static void Next(const Driver& wizard, int times) {
        for (; times > 0; --times)
            wizard.Press(IDOK);
    }
    static void Finish(const Driver& wizard, bool press = false) {
        if (press) wizard.PressInPage(IDC_RUN_AFTER);
        wizard.Press(IDOK);
    }
    const std::string folder = "C:\\Program Files\\Qantivo 8";
};

TEST_F(Wizard, InstallsForTheCurrentUser) {
    EXPECT_EQ(SetupByWizard(
                  {},
                  [](const Driver& wizard) {
                      Next(wizard, 1);
                      EXPECT_NE(TextOf(wizard.PageControl(IDC_AGREEMENT)).find(TEXT("Qantivo")), Text::npos);
                      Next(wizard, 1);
                      wizard.PressInPage(IDC_FOR_USER);
                      Next(wizard, 2);
                      // The second half of a double click finds the button disabled, and is
                      // forgotten.
                      for (int click = 0; click < 2; ++click)
                          EXPECT_TRUE(PostMessageW(wizard.Control(IDOK), WM_KEYDOWN, VK_RETURN, 0));
                      wizard.Await([&] { return TextOf(wizard.Control(IDOK)) == TEXT("&Finish >"); });
                      Finish(wizard);
                  }),
              0u);
    EXPECT_TRUE(Same(Installed({.target = folder}), Changes()));
}

TEST_F(Wizard, InstallsForAllUsersIntoAGroupAndStartsTheProduct) {
    EXPECT_EQ(SetupByWizard({},
                            [](const Driver& wizard) {
                                Next(wizard, 2);
                                wizard.PressInPage(IDC_FOR_ALL);
                                Next(wizard, 1);
                                wizard.Type(wizard.PageControl(IDC_GROUP),
                                            TEXT(" Qantivo Imaging\\Pictures "));
                                wizard.PressInPage(IDC_AUTOSTART);
                                wizard.PressInPage(IDC_DESKTOP);
                                Next(wizard, 2);
                                Finish(wizard, true);
                            }),
              0u);
    const Plan plan = {.target = folder,
                       .allUsers = true,
                       .group = "Qantivo Imaging\\Pictures",
                       .desktopIcon = false,
                       .autoStart = true};
    EXPECT_TRUE(
        Same(With(Installed(plan), {{"HKCU\\Software\\Lorvanta\\Qantivo 8\\ : Starts", "REG_DWORD 1"}}),
             Changes()));
}

// The installation that the command line asks for is the one that the pages open with.
TEST_F(Wizard, InstallsAPortableCopy) {
    EXPECT_EQ(SetupByWizard(TEXT("-instport C:\\Scratch\\Stick\\Qantivo"),
                            [](const Driver& wizard) {
                                Next(wizard, 2);
                                EXPECT_TRUE(IsTicked(wizard.PageControl(IDC_PORTABLE)));
                                Next(wizard, 2);
                                EXPECT_FALSE(IsShown(wizard.PageControl(IDC_RUN_AFTER)));
                                Finish(wizard);
                            }),
              0u);
    const std::string stick = "<Scratch>\\Stick\\Qantivo";
    State changes = Changes();
    std::erase_if(changes, [](const auto& item) { return item.first.starts_with("mark "); });
    EXPECT_TRUE(Same(With(PortableFiles(stick), {{"<Scratch>\\Stick\\", "folder"}}), changes));
}

// A cancelled wizard leaves nothing behind, and ends as if nobody had started it.
TEST_F(Wizard, LeavesNothingWhenItIsCancelled) {
    // The agreement is looked for in the current folder, which is the package's when a person starts setup.
    RunProgram(TEXT("\"") + package + TEXT("\\setup.exe\""), kScratch, [](DWORD id) {
        const Driver wizard(id, TEXT("Qantivo Setup"));
        Next(wizard, 1);
        EXPECT_EQ(TextOf(wizard.PageControl(IDC_AGREEMENT)), Text());
        const BoxAnswers answers({IDYES});
        wizard.Press(IDCANCEL);
    });
    for (const int passed : {0, 4}) {
        EXPECT_EQ(SetupByWizard({},
                                [&](const Driver& wizard) {
                                    Next(wizard, passed);
                                    const BoxAnswers answers({IDNO, IDYES});
                                    wizard.Press(IDCANCEL);
                                    wizard.Press(IDCANCEL);
                                }),
                  0u);
        EXPECT_TRUE(Same({}, Changes()));
    }
}

TEST_F(Wizard, AsksBeforeItReplacesANewerVersionOrTheSame) {
    const Text application = package + TEXT("\\QtvApp8.exe");
    SetFileVersion(application, 8, 6, 2, 0);
    Setup(TEXT("-s"));
    SetFileVersion(application, 8, 5, 2, 0);
    Rebase();
    {
        const BoxAnswers answers({IDNO});
        const RunningProgram setup(TEXT("\"") + package + TEXT("\\setup.exe\""), package);
        EXPECT_EQ(setup.ExitCode(), 0u);
        ASSERT_EQ(answers.Shown().size(), 1u);
        EXPECT_EQ(answers.Shown()[0].text.find(TEXT("Qantivo v. 8.06.02.00 is already installed")), 0u);
        EXPECT_TRUE(Same({}, Changes()));
    }
    SetFileVersion(application, 8, 6, 2, 0);
    const BoxAnswers answers({IDYES});
    EXPECT_EQ(SetupByWizard({},
                            [](const Driver& wizard) {
                                Next(wizard, 2);
                                EXPECT_TRUE(IsTicked(wizard.PageControl(IDC_FOR_ALL)))
                                    << "as it was installed";
                                Next(wizard, 3);
                                Finish(wizard);
                            }),
              0u);
    EXPECT_EQ(answers.Shown().at(0).text.find(TEXT("Qantivo ver. 8.06.02.00 is already installed")), 0u);
}

// What can't be replaced at once waits for the restart that the last page asks for.
TEST_F(Wizard, OffersTheRestartThatAFileInUseNeeds) {
    Setup(TEXT("-s"));
    const Text help = Where("C:\\Program Files\\Qantivo 8\\QtvApp8Man.chm");
    MakeFile(help, "help of an earlier version");
    const HeldFile held(help, Hold::NoDelete);
    const BoxAnswers answers({IDYES});
    SetupByWizard({}, [](const Driver& wizard) {
        Next(wizard, 5);
        EXPECT_TRUE(IsTicked(wizard.PageControl(IDC_RUN_AFTER)));
        EXPECT_EQ(TextOf(wizard.PageControl(IDC_RUN_AFTER)),
                  TEXT("Restart the computer when I click \"Finish\""));
        Finish(wizard, true);
    });
    EXPECT_EQ(BootMarks().back().second, help) << "the new file takes its place then";
}

// Silent to the last page, which is shown alone.
TEST_F(Wizard, ClosesASilentRunWhenItIsToldTo) {
    EXPECT_EQ(SetupByWizard(TEXT("-sconf -instdir C:\\Scratch\\Qantivo"),
                            [](const Driver& wizard) {
                                EXPECT_TRUE(Exists(target + TEXT("\\QtvApp8.exe")));
                                EXPECT_FALSE(IsWindowEnabled(wizard.Control(IDC_BACK)));
                                Finish(wizard);
                            }),
              0u);
}

}  // namespace
