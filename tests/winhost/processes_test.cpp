// Processes of the embedded machine: who counts as one, how they are found and how they end.
#include <fstream>

#include "processes/process_table.h"
#include "harness/scratch.h"
#include <winhost.h>
#include "winhost/neighbour.h"

namespace fs = std::filesystem;

namespace {

class HostProcesses : public ScratchTest {};

const std::string kSleeper = QTV_BUILD_FOLDER "/sleeper.exe";

TEST_F(HostProcesses, AreInvisible) {
    const Neighbour stranger([] { return true; });
    const auto id = static_cast<DWORD>(stranger.Id());
    const fs::path stale = fs::path(winhost::TableFolder()) / std::to_string(id);
    for (const bool listed : {false, true}) {
        if (listed) std::ofstream(stale) << "left by a process that ended";
        EXPECT_EQ(OpenProcess(PROCESS_TERMINATE, FALSE, id), nullptr);
        EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
    }
    EXPECT_TRUE(winhost::WaitForProcesses(tools::kHangMs))
        << "a process outside the machine is not waited for";
    EXPECT_FALSE(fs::exists(stale));
    EXPECT_EQ(waitpid(stranger.Id(), nullptr, WNOHANG), 0) << "the stranger runs on";
}

TEST_F(HostProcesses, AreFoundByIdAndEndedThroughAHandleThatMay) {
    ImportFile(kSleeper, TEXT("C:\\Scratch\\sleeper.exe"));
    const RunningProgram sleeper(TEXT("C:\\Scratch\\sleeper.exe"));
    const HANDLE weak = OpenProcess(SYNCHRONIZE, FALSE, sleeper.Id());
    const HANDLE strong = OpenProcess(PROCESS_TERMINATE, FALSE, sleeper.Id());
    ASSERT_TRUE(weak && strong);
    EXPECT_FALSE(TerminateProcess(weak, 5));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(WaitForSingleObject(strong, 0), WAIT_FAILED);
    EXPECT_EQ(WaitForSingleObject(weak, 20), WAIT_TIMEOUT);

    EXPECT_TRUE(TerminateProcess(strong, 0x12345));
    EXPECT_EQ(WaitForSingleObject(weak, INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(sleeper.ExitCode(), 0x12345u);
    EXPECT_FALSE(TerminateProcess(strong, 6)) << "it has ended";
    EXPECT_EQ(OpenProcess(SYNCHRONIZE, FALSE, sleeper.Id()), nullptr);
    CloseHandle(weak);
    CloseHandle(strong);
    EXPECT_TRUE(winhost::WaitForProcesses(tools::kHangMs));
    EXPECT_EQ(std::distance(fs::directory_iterator(winhost::TableFolder()), {}), 1) << "this process";
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
        EXPECT_EQ(RunChild("EndAsTold", kScratch + TEXT("\\child.exe"), how), exitCode) << winhost::Utf8(how);
}

TEST_F(HostProcesses, OfTwoRunsFromTheShellEndWithTheirPrograms) {
    const fs::path root = winhost::StateFolder() / "two_runs";
    winhost::CreateMachine(root);
    const fs::path program = root / "C/sleeper.exe";
    fs::copy_file(kSleeper, program);
    const std::string run =
        "timeout 300 " QTV_BUILD_FOLDER "/winmachine run '" + root.native() + "' 'C:\\sleeper.exe'";
    FILE* const runs[] = {popen(run.c_str(), "r"), popen(run.c_str(), "r")};
    std::vector<pid_t> sleepers;
    Await("both runs", [&] {
        sleepers.clear();
        std::error_code error;
        for (const auto& entry : fs::directory_iterator(root / ".state/processes", error))
            if (fs::read_symlink("/proc" / entry.path().filename() / "exe", error) == fs::canonical(program))
                sleepers.push_back(std::stoi(entry.path().filename()));
        return sleepers.size() == 2;
    });
    for (const pid_t sleeper : sleepers)
        kill(sleeper, SIGKILL);
    for (FILE* const each : runs)
        EXPECT_NE(WEXITSTATUS(pclose(each)), 124) << "it waits for something else";
    fs::remove_all(root);
}

TEST_F(HostProcesses, EndWithOneLineOutsideAnyMachine) {
    FILE* output = popen((kSleeper + " 2>&1").c_str(), "r");
    ASSERT_TRUE(output);
    char text[512] = {};
    const std::string said(text, std::fread(text, 1, sizeof text, output));
    EXPECT_EQ(WEXITSTATUS(pclose(output)), 2);
    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
}

}  // namespace
