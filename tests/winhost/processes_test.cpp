// Processes of the embedded machine: who counts as one, how they are found and how they end.
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <map>

#include "process_table.h"
#include "start.h"
#include "support/scratch.h"
#include "winhost.h"

namespace fs = std::filesystem;

namespace {

class HostProcesses : public ScratchTest {};

const std::string kSleeper = QTV_BUILD_FOLDER "/sleeper.exe";

struct Started {
    PROCESS_INFORMATION information = {};
    bool done = false;
    DWORD error = 0;
    HANDLE handle() const { return information.hProcess; }
    explicit Started(Text commandLine) {
        STARTUPINFOW startup = {};
        startup.cb = sizeof startup;
        done = CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                              &startup, &information);
        if (!done) error = GetLastError();
    }
    ~Started() {
        if (!done) return;
        (void)TerminateProcess(handle(), 1);
        (void)WaitForSingleObject(handle(), INFINITE);
        CloseHandle(information.hThread);
        CloseHandle(handle());
    }
    Started(const Started&) = delete;
    Started& operator=(const Started&) = delete;
};

std::size_t TableSize() {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(winhost::TableFolder()), {}));
}

TEST_F(HostProcesses, OfTheHostAreNoneOfTheMachines) {
    const pid_t stranger = fork();
    if (stranger == 0) {
        pause();
        _exit(0);
    }
    const auto id = static_cast<DWORD>(stranger);
    const fs::path stale = fs::path(winhost::TableFolder()) / std::to_string(stranger);
    for (const bool listed : {false, true}) {
        if (listed) std::ofstream(stale) << "left by a process that ended";
        EXPECT_EQ(OpenProcess(PROCESS_TERMINATE, FALSE, id), nullptr);
        EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
    }
    EXPECT_TRUE(winhost::WaitForProcesses(10000)) << "a stranger is not waited for";
    EXPECT_FALSE(fs::exists(stale));
    EXPECT_EQ(waitpid(stranger, nullptr, WNOHANG), 0) << "the stranger runs on";
    kill(stranger, SIGKILL);
    waitpid(stranger, nullptr, 0);
}

TEST_F(HostProcesses, AreFoundByIdAndEndedThroughAHandleThatMay) {
    ImportFile(kSleeper, TEXT("C:\\Scratch\\sleeper.exe"));
    const Started sleeper(TEXT("C:\\Scratch\\sleeper.exe"));
    ASSERT_TRUE(sleeper.done);
    const HANDLE weak = OpenProcess(SYNCHRONIZE, FALSE, sleeper.information.dwProcessId);
    const HANDLE strong = OpenProcess(PROCESS_TERMINATE, FALSE, sleeper.information.dwProcessId);
    ASSERT_TRUE(weak && strong);
    DWORD exitCode = 0;
    EXPECT_FALSE(TerminateProcess(weak, 5));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_FALSE(GetExitCodeProcess(strong, &exitCode));
    EXPECT_EQ(WaitForSingleObject(strong, 0), WAIT_FAILED);
    EXPECT_EQ(WaitForSingleObject(weak, 20), WAIT_TIMEOUT);
    EXPECT_TRUE(GetExitCodeProcess(sleeper.handle(), &exitCode));
    EXPECT_EQ(exitCode, STILL_ACTIVE);

    EXPECT_TRUE(TerminateProcess(strong, 0x12345));
    EXPECT_EQ(WaitForSingleObject(weak, INFINITE), WAIT_OBJECT_0);
    EXPECT_TRUE(GetExitCodeProcess(sleeper.handle(), &exitCode));
    EXPECT_EQ(exitCode, 0x12345u);
    EXPECT_FALSE(TerminateProcess(strong, 6)) << "it has ended";
    EXPECT_EQ(OpenProcess(SYNCHRONIZE, FALSE, sleeper.information.dwProcessId), nullptr);
    CloseHandle(weak);
    CloseHandle(strong);
    EXPECT_TRUE(winhost::WaitForProcesses(10000));
    EXPECT_EQ(TableSize(), 1u) << "this process alone is left in the table";
}

CHILD_PROGRAM(EndAsTold) {
    const Text how = __wargv[1];
    std::signal(SIGSEGV, SIG_DFL);
    if (how == TEXT("abort")) std::abort();
    if (how == TEXT("crash")) std::raise(SIGSEGV);
    if (how == TEXT("ExitProcess")) ExitProcess(0x10000);
    if (how == TEXT("_wexecl")) {
        (void)CopyFileW(TEXT("C:\\Scratch\\child.exe"), TEXT("C:\\Scratch\\copy.tmp"), FALSE);
        return static_cast<int>(
            _wexecl(TEXT("C:\\Scratch\\copy.tmp"), TEXT("x"), TEXT("exit"), static_cast<LPCWSTR>(nullptr)));
    }
    return 300;
}

TEST_F(HostProcesses, EndWithTheCodeThatWindowsWouldGive) {
    const std::pair<LPCWSTR, DWORD> rows[] = {
        {TEXT("abort"), 0xC0000409}, {TEXT("crash"), 0xC0000005}, {TEXT("ExitProcess"), 0x10000},
        {TEXT("_wexecl"), 0},        {TEXT("exit"), 300},
    };
    for (const auto& [how, exitCode] : rows)
        EXPECT_EQ(RunChild("EndAsTold", kScratch + TEXT("\\child.exe"), how).exitCode, exitCode)
            << winhost::Utf8(how);
}

TEST_F(HostProcesses, EndWithOneLineOutsideAnyMachine) {
    FILE* output = popen((kSleeper + " 2>&1").c_str(), "r");
    ASSERT_TRUE(output);
    char text[512] = {};
    const std::string said(text, std::fread(text, 1, sizeof text, output));
    EXPECT_EQ(WEXITSTATUS(pclose(output)), 2);
    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
}

TEST_F(HostProcesses, ProgramIsLookedForInTheOrderOfWindows) {
    // This process's program stands in C:\Windows.
    for (const LPCWSTR file :
         {TEXT("C:\\Windows\\all.exe"), TEXT("C:\\Scratch\\all.exe"), TEXT("C:\\Windows\\System32\\all.exe"),
          TEXT("C:\\Scratch\\two.exe"), TEXT("C:\\Windows\\System32\\two.exe"),
          TEXT("C:\\Scratch\\path\\three.com"), TEXT("C:\\Scratch\\a b.exe"), TEXT("C:\\Scratch\\a b\\c.exe"),
          TEXT("C:\\Scratch\\plain")})
        MakeFile(file);
    (void)SetEnvironmentVariableW(TEXT("Path"), TEXT("C:\\none;;C:\\Scratch\\path"));
    const std::pair<LPCWSTR, LPCWSTR> rows[] = {
        {TEXT("all"), TEXT("C:\\Windows\\all.exe")},
        {TEXT("TWO.exe -x"), TEXT("C:\\Scratch\\two.exe")},
        {TEXT("\"three.com\""), TEXT("C:\\Scratch\\path\\three.com")},
        {TEXT("C:\\Scratch\\a b\\c d"), TEXT("C:\\Scratch\\a b\\c.exe")},
        {TEXT("C:\\Scratch\\a b c"), TEXT("C:\\Scratch\\a b.exe")},
        {TEXT("\"C:\\Scratch\\a b\" c"), TEXT("C:\\Scratch\\a b.exe")},
        {TEXT("\"C:\\Scratch\\a\" b.exe"), TEXT("")},
        {TEXT("plain"), TEXT("")},
        {TEXT("path"), TEXT("")},
        {TEXT(""), TEXT("")},
    };
    for (const auto& [line, program] : rows)
        EXPECT_TRUE(winhost::SameName(winhost::FindCommand(line), program)) << winhost::Utf8(line);
    for (const LPCWSTR file : {TEXT("C:\\Windows\\all.exe"), TEXT("C:\\Windows\\System32\\all.exe"),
                               TEXT("C:\\Windows\\System32\\two.exe")})
        DeleteTree(file);
    (void)SetEnvironmentVariableW(TEXT("Path"), TEXT("C:\\Windows\\system32;C:\\Windows"));
}

}  // namespace
