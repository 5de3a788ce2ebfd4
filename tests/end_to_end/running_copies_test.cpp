// Setup and uninstall while copies of the application run.
#include <list>

#include "end_to_end/copy.h"
#include "end_to_end/run.h"

namespace {

// The application's exit code when it closed by itself. It has 10 ms to do so.
constexpr DWORD kClosed = 1001;

constexpr WCHAR kOneOpen[] = TEXT(
    "1 instance of Qantivo is currently opened. If you click \"Yes\" button, SETUP will try to close it ")
    TEXT("without saving any editing work you may have done. \n\nContinue installation?");
constexpr WCHAR kThreeOpen[] =
    TEXT("3 instances of Qantivo are currently opened. ff you click \"Yes\" button, SETUP will try to close ")
        TEXT("them without saving any editing work you may have done. \n\nContinue installation?");
constexpr WCHAR kAborted[] = TEXT(
    "Setup of Qantivo aborted. Please close other instances of Qantivo manually, saving any editing work ")
    TEXT("you have done in them, then restart this setup program.");

bool HasEnded(const RunningProgram& copy) {
    const DWORD exitCode = copy.ExitCode();
    return exitCode == 0 || exitCode == kClosed;
}

class RunningCopies : public EndToEndTest {};

TEST_F(RunningCopies, AreAskedAboutBeforeAnInstall) {
    const struct {
        std::size_t copies;
        std::vector<int> buttons;
        std::vector<Text> texts;
    } rows[] = {{1, {IDNO, IDOK}, {kOneOpen, kAborted}}, {3, {IDYES}, {kThreeOpen}}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.copies);
        std::list<RunningProgram> copies;
        while (copies.size() < row.copies)
            copies.push_back(StartCopy(package));
        const BoxAnswers answers(row.buttons);
        EXPECT_EQ(Setup(TEXT("-s -instdir C:\\Scratch\\Qantivo")), 0u);

        std::vector<Text> shown;
        for (const ShownBox& box : answers.Shown()) {
            shown.push_back(box.text);
            EXPECT_EQ(box.caption, TEXT("Qantivo Setup"));
        }
        EXPECT_EQ(shown, row.texts);
        const bool declined = row.buttons[0] == IDNO;
        for (const RunningProgram& copy : copies)
            EXPECT_TRUE(declined ? copy.Runs() : HasEnded(copy));
        EXPECT_TRUE(
            !declined ||
            Same({{"shared memory Local\\COXInstanceManager_FileMap_Lorvanta.Qantivo-ZR.v4", "there"}},
                 Changes()));
    }
    EXPECT_TRUE(Exists(target + TEXT("\\QtvUnInst.log")));
}

TEST_F(RunningCopies, AreEndedWhenTheyRefuseToClose) {
    const RunningProgram refuses = StartCopy(package, TEXT(" -stay")), closes = StartCopy(package);
    EXPECT_EQ(Setup(TEXT("-install -s -instdir C:\\Scratch\\Qantivo -nodeskico")), 0u);
    EXPECT_EQ(refuses.ExitCode(), 0u);
    EXPECT_TRUE(HasEnded(closes));
    EXPECT_TRUE(Same(With(Installed({.desktopIcon = false}), FolderMarks("<Scratch>\\Qantivo")), Changes()));
}

// If the list becomes too short after it was counted, setup ends at once.
TEST_F(RunningCopies, EndSetupByLeavingTheListDuringTheQuestion) {
    const RunningProgram copies[] = {StartCopy(package), StartCopy(package)};
    const BoxAnswers answers({kLeftOpen});
    const auto closeThemAndAgree = [&](const Driver& question) {
        for (const RunningProgram& copy : copies) {
            EXPECT_EQ(COXInstanceManager::CloseInstance(copy.Id()), 1);
            (void)copy.ExitCode();
        }
        EXPECT_TRUE(PostMessageW(question.Window(), WM_COMMAND, IDYES, 0));
    };
    EXPECT_EQ(Setup(TEXT("-install"), closeThemAndAgree), 0xC0000409u);
    EXPECT_TRUE(Same({}, Changes()));
}

}  // namespace
