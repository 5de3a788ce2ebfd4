// The machine that tests act on, with the same functions on both targets. Under Windows it is the running system (a
// Wine prefix). On the host it is an embedded machine that belongs to the test program.
#pragma once

#include <framework.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "common/hang.h"
#include "lab/lab.h"
#include "lab/program.h"

using Text = tools::WideText;

using tools::Wide;
inline constexpr auto& Narrow = tools::Utf8;
// Returns the text as the bytes of a UTF-16 file.
std::string Utf16(const std::string& ascii);

// A failed comparison shows the text.
inline void PrintTo(const CString& text, std::ostream* stream) {
    *stream << ::testing::PrintToString(text.Text());
}

// Waits until the condition holds. Returns false when it hangs, after tools::kHangMs.
bool ComesTrue(const std::function<bool()>& condition);
// The same, but a hang ends the test with a failure (an exception) that names `what`.
void Await(const std::string& what, const std::function<bool()>& condition);

// With a virtual clock, time passes only by waits of a fixed length, which are over at once: in this process and in those
// that it starts. Returns false under Windows, which has no such clock.
bool SetVirtualClock(bool on);

inline const Text kScratch = TEXT("C:\\Scratch");

// Each test starts on a clean machine: there is nothing that setup and the tests may change (the table in
// tools/lab/touched.cpp), no boot-time mark, and no program left running by an earlier test. C:\Scratch is empty and is
// the current folder. Programs that a test leaves running end with the test.
class ScratchTest : public ::testing::Test {
  protected:
    ScratchTest();
    ~ScratchTest() override;
};

// ---- files (paths are Windows paths) ----
void MakeFile(const Text& path, const std::string& bytes = "content");  // also makes missing folders
inline constexpr auto& FileBytes = tools::ReadWhole;
bool Exists(const Text& path);
void MakeFolder(const Text& path);  // also makes missing parents
// Deletes a file, or a folder with everything in it, whatever the attributes are. The test fails if something stays.
void DeleteTree(const Text& path);
// Returns what a search finds, in its order.
std::vector<WIN32_FIND_DATAW> Search(const Text& pattern);
// Returns every file and folder below, sorted, relative to the folder. Folders end with a backslash.
std::vector<Text> Tree(const Text& folder = kScratch);
// Copies a file of the build, or a folder with all that is in it, onto the machine. `buildPath` is one of the build
// machine; a relative one, such as "package", begins beside the test program. Programs stay programs.
void ImportFile(const std::filesystem::path& buildPath, const Text& target);
// Returns the bytes of a file of the build, which is named in the same way. A missing file has none.
std::string BuildBytes(const std::filesystem::path& buildPath);
void SetFileVersion(const Text& path, unsigned major, unsigned minor, unsigned release, unsigned build);

using lab::UnderWine;

// ---- registry ----
// Deletes a key and everything below it. A missing key is no failure.
void DeleteKeyTree(HKEY parent, const Text& key);

using lab::Mark;
inline constexpr auto& BootMarks = lab::Marks;
void ForgetMarks();
// Does what the next start of the machine does: ends the programs that the test left running and carries out the marks.
// Where a machine can't restart beneath a running program, the test ends here as skipped. Its program is started anew
// after a real restart, and then the test goes on from here (tools/kit).
void RestartMachine();
// Whether this run of the test carries out what comes before its n-th restart.
bool IsBeforeRestart(int n);
// Ends a test as skipped that needs restarts within one call, where there are none.
void RequireRestarts();

// ---- programs ----
// Runs a program, waits until it and all that it started have ended, and returns its exit code. A hang ends the
// test, as in Await. `meanwhile` is called with the program's id before the wait.
DWORD RunProgram(const Text& commandLine, const Text& folder = kScratch,
                 const std::function<void(DWORD)>& meanwhile = {});

// A program that runs while the test continues. The destructor ends it.
class RunningProgram {
  public:
    // Starts the program. The test fails if it can't be started.
    explicit RunningProgram(const Text& commandLine, const Text& folder = kScratch);
    ~RunningProgram();
    RunningProgram(RunningProgram&&) = default;
    DWORD Id() const { return m_program.Id(); }
    bool Runs() const { return !m_program.EndsWithin(0); }
    // Ends it. Returns false if it had ended before, or somebody else had told it to end.
    bool EndNow() const;
    // Waits for its end, as Await does.
    DWORD ExitCode() const;

  private:
    Text m_commandLine;
    lab::Program m_program;
};

// ---- a file in use ----
enum class Hold {
    NoDelete,  // open for reading and shared only for reading: it can't be deleted, renamed or written
    Running,   // a program runs from it, so it can be renamed, not deleted. The file becomes a small program
};
class HeldFile {
  public:
    HeldFile(const Text& path, Hold how);

  private:
    std::unique_ptr<void, BOOL(WINAPI*)(HANDLE)> m_file = {nullptr, CloseHandle};
    std::optional<RunningProgram> m_program;
};

// ---- code in a process of its own ----
// Code that ends its process runs in its own process. CHILD_PROGRAM(Name) { ...; return exitCode; } is written beside
// the tests. RunChild copies the test program to `program` and runs it with the arguments; there it runs the named body
// instead of tests. Copies that the child makes of itself do the same. Returns the exit code.
DWORD RunChild(const char* name, const Text& program = kScratch + TEXT("\\child.exe"),
               const Text& arguments = {});
RunningProgram StartChild(const char* name, const Text& arguments = {});
// For CHILD_PROGRAM only.
bool AddChildProgram(const char* name, int (*body)());
#define CHILD_PROGRAM(name)                                       \
    static int name();                                            \
    static const bool name##Added = AddChildProgram(#name, name); \
    static int name()

// Answers the message boxes of this process and of the programs that it runs. The answers are button ids, in order. The
// test fails when a box finds no answer left or lacks the button, when an answer is left over, and when a box comes
// while no such object exists. Only one such object exists at a time. The answer kLeftOpen leaves the box open, and the
// test uses it like any dialog.
inline constexpr int kLeftOpen = 0;
struct ShownBox {
    Text caption;
    Text text;
    std::optional<UINT> style;  // none under Windows, which doesn't tell it
    bool isUnanswered = false;
    bool HasStyle(UINT expected) const { return style.value_or(expected) == expected; }
};
class BoxAnswers {
  public:
    explicit BoxAnswers(std::vector<int> buttons);
    ~BoxAnswers();
    BoxAnswers(const BoxAnswers&) = delete;
    std::vector<ShownBox> Shown() const;  // so far, in order

  private:
    const std::size_t m_answers;
};
