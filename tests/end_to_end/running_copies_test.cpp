// Setup and uninstall while copies of the application run.
#include "end_to_end/run.h"
#include "instances/instance_manager.h"

namespace {

class RunningCopies : public EndToEndTest {};

TEST_F(RunningCopies, AreEndedWhenTheyRefuseToClose) {
    const RunningProgram refuses = StartCopy(package, TEXT(" -stay")), closes = StartCopy(package);
    EXPECT_EQ(Setup(TEXT("-install -s -instdir C:\\Scratch\\Qantivo -nodeskico")), 0u);
    EXPECT_EQ(refuses.ExitCode(), 0u);
    // The copy closes by itself if 10 ms suffice for that.
    EXPECT_TRUE(closes.ExitCode() == 0 || closes.ExitCode() == 1001);
    EXPECT_TRUE(
        Same(With(Installed({.desktopIcon = false}), FolderMarks("C:\\Scratch\\Qantivo")), Changes()));
}

// If the list becomes too short after it was counted, setup ends at once.
TEST_F(RunningCopies, EndSetupByLeavingTheListDuringTheQuestion) {
    const RunningProgram copies[] = {StartCopy(package), StartCopy(package)};
    const BoxAnswers answers({kLeftOpen});
    const auto closeThemAndAgree = [&](const Driver& question) {
        question.Await("the answer", [&] { return !answers.Shown().empty(); });
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
