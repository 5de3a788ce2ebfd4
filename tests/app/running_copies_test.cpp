// Other copies of the product are asked about and closed before either job.
#include "instances/instance_manager.h"
#include "app/setup_app.h"
#include "app/setup_state.h"
#include "support/scratch.h"

#include <algorithm>
#include <list>

namespace {

constexpr WCHAR kListMapping[] = TEXT("Local\\COXInstanceManager_FileMap_Qantivo.Tests");
const Text kSetup = kScratch + TEXT("\\setup.exe");
const Text kUninstaller = kScratch + TEXT("\\QtvUnInst.exe");

constexpr WCHAR kOneOpen[] = TEXT("1 instance of Qantivo is currently opened.");
constexpr WCHAR kThreeOpen[] = TEXT("3 instances of Qantivo are currently opened.");
constexpr WCHAR kAborted[] = TEXT("Setup of Qantivo aborted.");
constexpr WCHAR kDamaged[] = TEXT("This setup files are damaged");

// The shared list as the product lays it out, for the name that tests use.
class SharedList {
  public:
    SharedList()
        : m_mapping(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE | SEC_COMMIT, 0, 131072,
                                       kListMapping)),
          m_words(static_cast<DWORD*>(MapViewOfFile(m_mapping, FILE_MAP_READ | FILE_MAP_WRITE, 0, 0, 4008))) {
    }
    ~SharedList() {
        UnmapViewOfFile(m_words);
        CloseHandle(m_mapping);
    }
    SharedList(const SharedList&) = delete;
    SharedList& operator=(const SharedList&) = delete;

    void Clear() { std::fill(m_words + 1, m_words + 1002, 0); }
    void SetCount(DWORD count) { m_words[1] = count; }
    void Add(DWORD id) { m_words[2 + m_words[1]++] = id; }
    // Takes the places that a test has left free with the id 0.
    void TakePlace(DWORD id) { std::replace(m_words + 2, m_words + 1002, DWORD{0}, id); }

  private:
    HANDLE m_mapping;
    DWORD* m_words;
};

// A program that runs until it is ended.
class Copy : public RunningProgram {
  public:
    Copy() : RunningProgram(kScratch + TEXT("\\sleeper.exe")) {}
    bool WasEnded() const { return ExitCode() == 0u; }
};

class RunningCopies : public ScratchTest {
  protected:
    RunningCopies() { ImportFile(QTV_BUILD_FOLDER "/sleeper.exe", kScratch + TEXT("\\sleeper.exe")); }
    ~RunningCopies() override { m_list.Clear(); }

    SharedList m_list;
};

}  // namespace

// An install ends at the message that the setup files are damaged, an uninstall for want of a temporary
// folder.
CHILD_PROGRAM(StartsAmongCopies) {
    (void)SetEnvironmentVariableW(TEXT("TMP"), TEXT("C:\\Scratch\\missing"));
    SharedList().TakePlace(GetCurrentProcessId());
    return theApp.InitInstance();
}

TEST_F(RunningCopies, AreClosedAfterTheQuestionThatTheCommandLineLeaves) {
    struct Box {
        LPCWSTR text;
        int answer;
    };
    static const struct {
        Text program;
        LPCWSTR arguments;
        int copies;
        std::vector<Box> boxes;
        bool closed;
        DWORD exitCode;
    } kRows[] = {
        {kSetup, TEXT(""), 0, {{kDamaged, IDOK}}, false, 1},
        {kSetup, TEXT(""), 1, {{kOneOpen, IDYES}, {kDamaged, IDOK}}, true, 1},
        {kSetup, TEXT(""), 3, {{kThreeOpen, IDYES}, {kDamaged, IDOK}}, true, 1},
        {kSetup, TEXT("-s"), 1, {{kOneOpen, IDYES}, {kDamaged, IDOK}}, true, 1},
        {kSetup, TEXT("x -sconf"), 1, {{kOneOpen, IDYES}, {kDamaged, IDOK}}, true, 1},
        {kSetup, TEXT("-install -S"), 1, {{kDamaged, IDOK}}, true, 1},
        {kSetup, TEXT("-install x /S"), 3, {{kDamaged, IDOK}}, true, 1},
        {kSetup, TEXT(""), 3, {{kThreeOpen, IDNO}, {kAborted, IDOK}}, false, 1},
        {kSetup, TEXT("-s"), 1, {{kOneOpen, IDNO}, {kAborted, IDOK}}, false, 1},
        {kUninstaller, TEXT(""), 3, {}, true, 0},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(::testing::PrintToString(row.program + TEXT(" ") + row.arguments));
        std::vector<int> buttons;
        for (const Box& box : row.boxes)
            buttons.push_back(box.answer);
        const BoxAnswers answers(buttons);
        std::list<Copy> copies(static_cast<std::size_t>(row.copies));
        m_list.Clear();
        for (const Copy& copy : copies)
            m_list.Add(copy.Id());
        m_list.Add(0);

        EXPECT_EQ(RunChild("StartsAmongCopies", row.program, row.arguments).exitCode, row.exitCode);

        for (const Copy& copy : copies)
            EXPECT_TRUE(row.closed ? copy.WasEnded() : copy.Runs());
        const std::vector<ShownBox> shown = answers.Shown();
        for (std::size_t index = 0; index < shown.size() && index < row.boxes.size(); ++index) {
            EXPECT_TRUE(shown[index].text.starts_with(row.boxes[index].text));
            EXPECT_EQ(shown[index].caption,
                      row.boxes[index].text == kDamaged ? TEXT("Qantivo 8") : TEXT("Qantivo Setup"));
        }
    }
}

// The list is walked to one entry before its end: where setup doesn't stand last, the last copy stays.
TEST_F(RunningCopies, LastEntryStaysRunningWhenSetupDoesNotStandThere) {
    const Copy first, last;
    m_list.Clear();
    for (const DWORD id : {first.Id(), DWORD{0}, last.Id()})
        m_list.Add(id);
    const BoxAnswers answers({IDOK});
    EXPECT_EQ(RunChild("StartsAmongCopies", kSetup, TEXT("-install -s")).exitCode, 1u) << "it runs on";
    EXPECT_TRUE(first.WasEnded());
    EXPECT_TRUE(last.Runs());
}

// Ended processes stay listed, and the count may be more than the list holds.
TEST_F(RunningCopies, EndedProcessesArePassedOverToTheEndOfTheList) {
    const Copy copy;
    m_list.Clear();
    for (const DWORD id : {DWORD{0xFFFFFFF0}, copy.Id()})
        m_list.Add(id);
    m_list.SetCount(0x80000000);
    EXPECT_EQ(RunChild("StartsAmongCopies", kUninstaller).exitCode, 0u);
    EXPECT_TRUE(copy.WasEnded());
}
