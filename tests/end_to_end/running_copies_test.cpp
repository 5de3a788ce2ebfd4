// Setup and uninstall beside running copies of the application.
#include <list>

#include "end_to_end/run.h"
#include "instances/instance_manager.h"

namespace {

constexpr DWORD kPause = 5;
constexpr DWORD kClosed =
    1001;  // the application's exit code when it closed by itself; it has 10 ms to do so

constexpr WCHAR kOneOpen[] = TEXT(
    "1 instance of Qantivo is currently opened. If you click \"Yes\" button, SETUP will try to close it ")
    TEXT("without saving any editing work you may have done. \n\nContinue installation?");
constexpr WCHAR kThreeOpen[] =
    TEXT("3 instances of Qantivo are currently opened. ff you click \"Yes\" button, SETUP will try to close ")
        TEXT("them without saving any editing work you may have done. \n\nContinue installation?");
constexpr WCHAR kAborted[] = TEXT(
    "Setup of Qantivo aborted. Please close other instances of Qantivo manually, saving any editing work ")
    TEXT("you have done in them, then restart this setup program.");

// The application, in the list and with its window.
class Copy : public RunningProgram {
  public:
    explicit Copy(const Text& folder, LPCWSTR option = TEXT(" -show"))
        : RunningProgram(TEXT("\"") + folder + TEXT("\\QtvApp8.exe\"") + option) {
        while (Runs() && !COXInstanceManager::FindInstanceWindow(Id()))
            Sleep(kPause);
        EXPECT_TRUE(Runs());
    }
    bool HasEnded() const {
        const auto exitCode = ExitCode();
        return exitCode == 0u || exitCode == kClosed;
    }
};

class RunningCopies : public EndToEndTest {};

TEST_F(RunningCopies, AreAskedAboutBeforeAnInstall) {
    static const struct {
        std::size_t copies;
        LPCWSTR option;
        LPCWSTR question;  // none for no question
        int answer;
    } kRows[] = {
        {1, TEXT("-s"), kOneOpen, IDNO},      {3, TEXT("-s"), kThreeOpen, IDNO},
        {3, TEXT("-s"), kThreeOpen, IDYES},   {1, TEXT("-s"), kOneOpen, IDYES},
        {1, TEXT("-install -s"), nullptr, 0},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(::testing::PrintToString(Text(row.option)) + " beside " + std::to_string(row.copies));
        std::vector<Text> expected;
        std::vector<int> buttons;
        if (row.question) {
            expected.push_back(row.question);
            buttons.push_back(row.answer);
        }
        if (row.answer == IDNO) {
            expected.push_back(kAborted);
            buttons.push_back(IDOK);
        }
        std::list<Copy> copies;
        while (copies.size() < row.copies)
            copies.emplace_back(package);
        const BoxAnswers answers(buttons);
        EXPECT_EQ(Setup(row.option + Text(TEXT(" -instdir C:\\Scratch\\Qantivo"))), 0u);

        std::vector<Text> shown;
        for (const ShownBox& box : answers.Shown()) {
            shown.push_back(box.text);
            EXPECT_EQ(box.caption, TEXT("Qantivo Setup"));
        }
        EXPECT_EQ(shown, expected);
        for (const Copy& copy : copies)
            EXPECT_TRUE(row.answer == IDNO ? copy.Runs() : copy.HasEnded());
        EXPECT_TRUE(row.answer == IDNO
                        ? Same({}, Changes())
                        : ::testing::AssertionResult(Exists(target + TEXT("\\QtvUnInst.log"))));
        DeleteTree(target);
    }
}

TEST_F(RunningCopies, AreEndedWhenTheyRefuseToClose) {
    const Copy refuses(package, TEXT(" -stay"));
    const Copy closes(package);
    EXPECT_EQ(Setup(TEXT("-install -s -instdir C:\\Scratch\\Qantivo")), 0u);
    EXPECT_EQ(refuses.ExitCode(), 0u);
    EXPECT_TRUE(closes.HasEnded());
    // An install into a folder that the command line names marks two folders that are not there yet.
    EXPECT_TRUE(Same(With(Installed({}), {{"mark 001", "delete <Scratch>\\Qantivo\\x64"},
                                          {"mark 002", "delete <Scratch>\\Qantivo\\Samples"}}),
                     Changes()));
}

}  // namespace
