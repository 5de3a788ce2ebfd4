// How setup walks the list of running copies to close them. The end-to-end tests use the application itself; here other
// programs are in the list.
#include "instances/instance_manager.h"
#include "app/setup_app.h"
#include "resource.h"
#include "support/handles.h"
#include "support/path_text.h"
#include "harness/driver.h"

#include <algorithm>

namespace {

constexpr WCHAR kListMapping[] = TEXT("Local\\COXInstanceManager_FileMap_Qantivo.Tests");
const Text kElapsed = kScratch + TEXT("\\elapsed");
const Text kCopy = kScratch + TEXT("\\sleeper.exe");

// The words of the shared list, under the name that tests use: the limit, the count, a thousand ids.
DWORD* List() {
    static const KernelHandle mapping(CreateFileMappingW(
        INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE | SEC_COMMIT, 0, 131072, kListMapping));
    static void* const words = MapViewOfFile(mapping.get(), FILE_MAP_READ | FILE_MAP_WRITE, 0, 0, 4008);
    return static_cast<DWORD*>(words);
}

// The child puts its own id in the place of each id 0.
void SetList(DWORD count, const std::vector<DWORD>& ids) {
    List()[1] = count;
    std::fill(std::copy(ids.begin(), ids.end(), List() + 2), List() + 1002, 0);
}

class RunningCopies : public ScratchTest {
  protected:
    RunningCopies() { ImportFile("sleeper.exe", kCopy); }
    ~RunningCopies() override { SetList(0, {}); }
};

}  // namespace

// An install ends with the message that the setup files are damaged. An uninstall ends because it finds no temporary folder.
CHILD_PROGRAM(StartsAmongCopies) {
    (void)SetEnvironmentVariableW(TEXT("TMP"), TEXT("C:\\Scratch\\missing"));
    std::replace(List() + 2, List() + 1002, DWORD{0}, GetCurrentProcessId());
    const DWORD start = GetTickCount();
    const int result = theApp.InitInstance();
    MakeFile(kElapsed, std::to_string(GetTickCount() - start));
    return result;
}

// The walk ends one entry before the end of the list. If setup isn't the last entry, the last copy stays.
TEST_F(RunningCopies, ClosingSparesTheLastEntryOfAForeignList) {
    const RunningProgram first(kCopy), last(kCopy);
    SetList(3, {0, first.Id(), last.Id()});
    const BoxAnswers answers({IDOK});
    EXPECT_EQ(RunChild("StartsAmongCopies", kScratch + TEXT("\\setup.exe"), TEXT("x /S")), 1u)
        << "it runs on";
    EXPECT_EQ(first.ExitCode(), 0u);
    EXPECT_TRUE(last.Runs());
}

// The first argument never makes setup close copies without a question, and no copy is closed before the answer.
TEST_F(RunningCopies, RunOnUntilTheQuestionIsAnswered) {
    const Text uninstall = TEXT("This will completely uninstall Qantivo 8.\nDo you want to continue?"),
               oneOpen = TEXT("1 instance of Qantivo is"), threeOpen = TEXT("3 instances of Qantivo are");
    const struct {
        LPCWSTR arguments;
        Text question;
        DWORD listed = 2;
        bool installs = true;
    } rows[] = {
        {.arguments = TEXT("-v"), .question = uninstall, .installs = false},
        {.arguments = TEXT("-s"), .question = oneOpen},
        {.arguments = TEXT("/s x"), .question = threeOpen, .listed = 4},
    };
    for (const auto& row : rows) {
        const RunningProgram copy(kCopy);
        SetList(row.listed, {copy.Id(), 0});
        const BoxAnswers answers(row.installs ? std::vector{IDNO, IDOK} : std::vector{IDNO});
        const Text program = kScratch + (row.installs ? TEXT("\\setup.exe") : TEXT("\\QtvUnInst.exe"));
        EXPECT_EQ(RunChild("StartsAmongCopies", program, row.arguments), row.installs ? 1u : 0u);
        EXPECT_TRUE(copy.EndNow());
        const std::vector<ShownBox> shown = answers.Shown();
        EXPECT_EQ(shown.at(0).text.substr(0, row.question.size()), row.question);
        EXPECT_TRUE(shown[0].HasStyle(MB_YESNO | MB_ICONWARNING | (row.installs ? 0 : MB_DEFBUTTON2)));
        EXPECT_TRUE(!row.installs || (shown.at(1).HasStyle(MB_OK | MB_ICONINFORMATION) &&
                                      shown[1].text == LoadResString(IDS_SETUP_ABORTED).Text()));
        for (const ShownBox& box : shown)
            EXPECT_EQ(box.caption, TEXT("Qantivo Setup"));
    }
}

// Neither the end of the session nor another setup answers a question, but both end a message. A second click doesn't answer the next box.
TEST_F(RunningCopies, BoxesAreNotAnsweredByOthers) {
    const Text setupTitle = TEXT("Qantivo Setup");
    const struct {
        LPCWSTR option;
        DWORD listed;
        std::vector<Text> titles;
        DWORD exitCode;
    } rows[] = {{TEXT("-v"), 2, {setupTitle}, 0},
                {TEXT("-install"), 2, {setupTitle, setupTitle}, 1},
                {TEXT("-install"), 0, {kProductName}, 1}};
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        const RunningProgram copy(kCopy);
        SetList(row.listed, {copy.Id(), 0});
        const BoxAnswers answers(std::vector<int>(row.titles.size(), kLeftOpen));
        const RunningProgram setup = StartChild("StartsAmongCopies", row.option);
        for (std::size_t number = 1; number <= row.titles.size(); ++number) {
            const Driver box(setup.Id(), row.titles[number - 1]);
            box.Await("the next box", [&] { return answers.Shown().size() == number; });
            EXPECT_EQ(COXInstanceManager::FindInstanceWindow(setup.Id()), box.Window());
            EXPECT_EQ(SendMessageW(box.Window(), WM_QUERYENDSESSION, 0, 0), 1);
            EXPECT_EQ(SendMessageW(box.Window(), WM_ENDSESSION, TRUE, 0), 0);
            EXPECT_TRUE(IsWindow(box.Window()) && setup.Runs());
            EXPECT_TRUE(PostMessageW(box.Window(), WM_CLOSE, 1001, 0));
            const bool isQuestion = number == 1 && row.listed != 0;
            if (isQuestion && !UnderWine()) {
                // The box has taken the close when it takes the next message.
                (void)PostMessageW(box.Window(), DM_SETDEFID, IDYES + IDNO, 0);
                Await("the message after the close", [&] {
                    return !IsWindow(box.Window()) ||
                           LOWORD(SendMessageW(box.Window(), DM_GETDEFID, 0, 0)) == IDYES + IDNO;
                });
                EXPECT_TRUE(IsWindow(box.Window())) << "a box of Yes and No stays";
            }
            for (int click = 0; click < 2 && isQuestion; ++click)
                (void)PostMessageW(box.Window(), WM_COMMAND, IDNO, 0);
            Await("the end of the box", [&] { return !IsWindow(box.Window()); });
        }
        EXPECT_EQ(setup.ExitCode(), row.exitCode);
        EXPECT_TRUE(copy.Runs());
    }
}

// Ended processes stay in the list, and the count may be larger than the list. Each entry gets 10 ms to end.
TEST_F(RunningCopies, EndedProcessesAreSkipped) {
    const RunningProgram copy(kCopy);
    std::vector<DWORD> ids(11, 0xFFFFFFF0);
    ids.back() = copy.Id();
    SetList(0x80000000, ids);
    const bool isExact = SetVirtualClock(true);
    EXPECT_EQ(RunChild("StartsAmongCopies", kScratch + TEXT("\\QtvUnInst.exe")), 0u);
    (void)SetVirtualClock(false);
    EXPECT_EQ(copy.ExitCode(), 0u);
    const int elapsed = std::stoi(FileBytes(kElapsed).value_or("0"));
    EXPECT_TRUE(isExact ? elapsed == 110 : elapsed >= 100) << elapsed;
}
