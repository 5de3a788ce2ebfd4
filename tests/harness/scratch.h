// The machine that tests act on, with the same functions on both targets. Under Windows it is the running system (a
// Wine prefix), on the host an embedded machine that belongs to the test program.
#pragma once

#include <framework.h>
#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

using Text = std::basic_string<WCHAR>;

inline Text Wide(const std::string& ascii) {
    return {ascii.begin(), ascii.end()};
}
// The text as the bytes of a file.
std::string Utf16(const std::string& ascii);

// A failed comparison shows the text.
inline void PrintTo(const CString& text, std::ostream* stream) {
    *stream << ::testing::PrintToString(text.Text());
}

// Polls a condition. False when it doesn't hold within that time.
bool HoldsWithin(DWORD milliseconds, const std::function<bool()>& condition);
// Waits until the condition holds, for ten seconds at most: then the test ends with a failure that says what
// it waited for (an exception).
void Await(const std::string& what, const std::function<bool()>& condition);

// Where a test keeps its files.
inline const Text kScratch = TEXT("C:\\Scratch");

// Each test starts on a clean machine: an empty C:\Scratch that is the current folder, no uninstaller
// (uni*) in the temporary folder, no boot-time marks, no WININIT.INI, no registry keys of the product, no
// C:\Program Files\Qantivo 8, nothing whose name begins with "Qantivo" in the Programs, Startup and Desktop
// folders, and no program left running by an earlier test. Programs that the test has started and left
// running end with it.
class ScratchTest : public ::testing::Test {
  protected:
    ScratchTest();
    ~ScratchTest() override;
};

// ---- files (paths are Windows paths) ----
void MakeFile(const Text& path, const std::string& bytes = "content");  // makes missing folders too
std::optional<std::string> FileBytes(const Text& path);                 // none when it can't be read
bool Exists(const Text& path);
void MakeFolder(const Text& path);  // with missing parents
// Deletes a file, or a folder with all below it, whatever the attributes. The test fails when something stays.
void DeleteTree(const Text& path);
// Every file and folder below, sorted, relative to the folder; folders end in a backslash.
std::vector<Text> Tree(const Text& folder = kScratch);
// Copy a file or folder of the build (an absolute path of the build machine, such as QTV_BUILD_FOLDER
// "/package") onto the machine. Programs stay programs.
void ImportFile(const std::string& buildPath, const Text& target);
void ImportFolder(const std::string& buildPath, const Text& target);
// Overwrites the four numbers of the version block in a program file.
void SetFileVersion(const Text& path, unsigned major, unsigned minor, unsigned release, unsigned build);

// ---- what the running system does differently from Windows; always false except under Wine ----
enum class Deviation {
    OverwritesReadOnly,      // opening or copying over a read-only file succeeds (Wine as root)
    SearchesByOtherRules,    // "?" at the end, "<", and a quote find fewer names
    ClassesOutliveTheUsers,  // a handle of a user's class shows the machine's when the user's is deleted
    KeepsFailedStarts,       // CreateProcessW leaves what stood in its answer when it fails
};
bool Deviates(Deviation deviation);
// What the running system is to answer to a fact: `windows`, or under Wine what the table in
// scratch_windows.cpp has for the fact.
std::string Expected(const std::string& fact, const std::string& windows);

// ---- registry ----
// Deletes a key with all below it. A missing key is no failure.
void DeleteKeyTree(HKEY parent, const Text& key);

// ---- boot-time marks, in order: source, and target or empty for a delete; "!" before a target that may be
// replaced ----
using Mark = std::pair<Text, Text>;
std::vector<Mark> BootMarks();
// The next start of the machine: ends the programs that the test left running and carries the marks out.
void RestartMachine();

// ---- programs ----
// Runs a program, waits for it and all that it started, and returns its exit code. The test fails after a minute.
// `meanwhile` is called with the program's id before the wait.
DWORD RunProgram(const Text& commandLine, const Text& folder = kScratch,
                 const std::function<void(DWORD)>& meanwhile = {});

// A program that runs beside the test. The destructor ends it.
class RunningProgram {
  public:
    explicit RunningProgram(const Text& commandLine, const Text& folder = kScratch);
    ~RunningProgram();
    RunningProgram(RunningProgram&& other) noexcept : m_process(std::exchange(other.m_process, {})) {}
    RunningProgram& operator=(RunningProgram&&) = delete;
    DWORD Id() const { return m_process.dwProcessId; }
    bool Runs() const;
    // Waits for its end. None, and the test fails, when it doesn't end within a minute.
    std::optional<DWORD> ExitCode() const;

  private:
    PROCESS_INFORMATION m_process = {};
};

// ---- a file in use ----
enum class Hold {
    NoDelete,  // open for reading and shared for reading only: it can't be deleted, renamed or written
    Running,   // a program that runs from it: renamed, but not deleted. The file at the path becomes a small
               // program.
};
class HeldFile {
  public:
    HeldFile(const Text& path, Hold how);
    ~HeldFile();
    HeldFile(const HeldFile&) = delete;
    HeldFile& operator=(const HeldFile&) = delete;

  private:
    HANDLE m_file = INVALID_HANDLE_VALUE;
    std::optional<RunningProgram> m_program;
};

// ---- code in a process of its own ----
// Code that ends its process runs in a process of its own: CHILD_PROGRAM(Name) { ...; return exitCode; }
// stands beside the tests, and RunChild copies the test program to `program` and runs it with the arguments.
// There it runs the named body instead of tests. Copies that the child makes of itself do the same.
DWORD RunChild(const char* name, const Text& program = kScratch + TEXT("\\child.exe"),
               const Text& arguments = {});
// Runs the child beside the test.
RunningProgram StartChild(const char* name, const Text& arguments = {});
bool AddChildProgram(const char* name, int (*body)());
#define CHILD_PROGRAM(name)                                       \
    static int name();                                            \
    static const bool name##Added = AddChildProgram(#name, name); \
    static int name()

// Answers the message boxes of this process and of programs that it runs, with these button ids in order. The test
// fails when a box has no answer left or not that button, when an answer is left over, and when a box comes while no
// such object exists. There is one at a time.
// The answer kLeftOpen leaves the box open, and the test drives it like any dialog.
inline constexpr int kLeftOpen = 0;
struct ShownBox {
    Text caption;
    Text text;
    std::optional<UINT> style;  // none under Windows, which doesn't tell it
    bool HasStyle(UINT expected) const { return style.value_or(expected) == expected; }
};
class BoxAnswers {
  public:
    explicit BoxAnswers(std::vector<int> buttons);
    ~BoxAnswers();
    BoxAnswers(const BoxAnswers&) = delete;
    BoxAnswers& operator=(const BoxAnswers&) = delete;
    // The boxes shown so far, in order.
    std::vector<ShownBox> Shown() const;

  private:
    const std::size_t m_answers;
};
