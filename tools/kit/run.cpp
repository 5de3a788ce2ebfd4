#include "kit/run.h"

#include <windows.h>

#include <shlobj.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <sstream>

#include "common/hang.h"
#include "kit/machine.h"
#include "kit/report.h"
#include "lab/lab.h"
#include "support/handles.h"

namespace fs = std::filesystem;

namespace kit {

void Say(const std::string& text) {
    std::printf("%s\n", text.c_str());
    (void)std::fflush(stdout);
}

std::string Utf8(const fs::path& path) {
    return tools::Utf8(path.native());
}

std::string Read(const fs::path& path) {
    return tools::ReadWhole(path.native()).value_or("");
}

void Write(const fs::path& path, const std::string& text) {
    std::ofstream file(path, std::ios::binary);
    file << text;
    file.close();
    if (!file)
        throw CantRun(Utf8(path) + " can't be written: free some space, or name another folder by /results");
}

// A zip that was cut has lost files, or parts of them. contents.txt has a line for each: size and name.
void RequireWholeKit(const Job& job) {
    std::istringstream lines(Read(job.folder / "contents.txt"));
    std::string name;
    std::uintmax_t size = 0, count = 0;
    for (; lines >> size && std::getline(lines.ignore(), name); ++count) {
        std::error_code error;
        if (fs::file_size(job.folder / tools::Wide(name), error) != size || error)
            throw CantRun(name + " is missing or not whole: unpack the whole zip again");
    }
    if (count == 0) throw CantRun("contents.txt is missing: unpack the whole zip again");
}

namespace {

constexpr DWORD kLongestMs = 6 * tools::kHangMs, kPollMs = 500;
constexpr ULONGLONG kSpace = 300'000'000;  // in bytes: the tests' largest files and the results
constexpr char kEnded[] = "\nkit: the program ended with ";
constexpr char kMachine[] = "the machine:\n";
constexpr char kGoesOn[] = "it goes on after a restart";
constexpr char kNeedsRestart[] = "it needs a restart of the machine";
constexpr int kMostRestarts = 3;  // of one test

// A test that goes on after a restart: its program, its name, and how often the machine has restarted for it.
struct Waiting {
    std::string program, name;
    int restarts = 0;
};

fs::path WaitingFile(const fs::path& results) {
    return results / "waiting.txt";
}

// ---- before the run ----

void RequireUse(const Job& job) {
    if (!job.mayChange && !IsSandbox())
        throw CantRun(
            "this machine isn't marked as throwaway, and the tests install and remove the product for all "
            "users, "
            "delete C:\\Scratch, and forget what other programs have left to the next start. Use Windows "
            "Sandbox "
            "(sandbox.cmd), or say so: run.cmd /this-machine-may-be-changed");
    // A sandbox may start the kit at each start of its machine.
    const fs::path restarted = RestartedFor();
    if (!restarted.empty() && fs::exists(WaitingFile(restarted)))
        throw CantRun("the run in " + Utf8(restarted) +
                      " has restarted this machine and goes on by itself; run.cmd /go-on does it by hand");
    if (!IsUserAnAdmin())
        throw CantRun("the rights of an administrator are missing: right-click, Run as administrator");
    for (const fs::path& drive : {fs::path("C:\\"), job.results.root_path()}) {
        ULARGE_INTEGER free = {};
        if (GetDiskFreeSpaceExW(drive.c_str(), &free, nullptr, nullptr) && free.QuadPart < kSpace)
            throw CantRun("there is no space on the drive " + Utf8(drive) + ": make 300 MB free");
    }
}

// Nothing of an earlier run stays.
void MakeResults(const Job& job) {
    std::error_code error;
    for (const char* const name :
         {"results.xml", "results.txt", "facts.md", "about.txt", "waiting.txt", "output"})
        fs::remove_all(job.results / name, error);
    fs::create_directories(job.results / "output", error);
    Write(job.results / "about.txt", "");
}

// ---- programs ----

// A misspelt name must not look like a run without failures.
std::vector<std::string> WantedPrograms(const Job& job) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(job.folder / "programs"))
        if (const std::string name = Utf8(entry.path().stem()); name.ends_with("_tests"))
            names.push_back(name);
    std::ranges::sort(names, {}, [](const auto& name) { return std::pair(name != "machine_tests", name); });
    std::string known;
    for (const std::string& name : names)
        known += " " + name;
    for (const std::string& only : job.only)
        if (!std::ranges::count(names, only))
            throw CantRun("there is no program " + only + ": the programs are" + known);
    return job.only.empty() ? names : job.only;
}

fs::path NextOutput(const Job& job, const std::string& program) {
    const fs::path folder = job.results / "output";
    const auto count = std::distance(fs::directory_iterator(folder), {});
    return folder / (std::to_string(100 + count) + " " + program + ".txt");
}

// Appends what the program writes to the file. Returns its exit code, or the system's error if it doesn't start.
DWORD RunProgram(const Job& job, const std::string& program, const std::wstring& arguments,
                 const fs::path& output) {
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    const KernelHandle file(CreateFileW(output.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                        &inherited, OPEN_ALWAYS, 0, nullptr));
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = startup.hStdError = file.get();
    PROCESS_INFORMATION made = {};
    std::wstring line = L"\"" + job.Program(program).native() + L"\" " + arguments;
    if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &made))
        return GetLastError();
    const KernelHandle process(made.hProcess), thread(made.hThread);
    // A test ends its own hang. What hangs beside the tests is ended here.
    if (WaitForSingleObject(made.hProcess, kLongestMs) != WAIT_OBJECT_0)
        (void)TerminateProcess(made.hProcess, WAIT_TIMEOUT);
    (void)WaitForSingleObject(made.hProcess, tools::kHangMs);
    DWORD exitCode = 0;
    (void)GetExitCodeProcess(made.hProcess, &exitCode);
    return exitCode;
}

// What a program has told, and how it ended.
void AddFile(Results& results, const fs::path& output) {
    const std::string text = Read(output), name = Utf8(output.stem());
    const auto end = text.rfind(kEnded);
    const unsigned long exitCode =
        end == text.npos ? ERROR_PROCESS_ABORTED : std::stoul(text.substr(end + sizeof kEnded - 1));
    AddOutput(results, name.substr(name.find(' ') + 1), exitCode, Nobodys(text.substr(0, end)));
}

// What the machine holds, if something failed that didn't tell: a test that ended its program.
std::string UntoldMachine(const std::string& program, const fs::path& output, DWORD exitCode) {
    Results told;
    AddOutput(told, program, exitCode, Read(output));
    if (std::ranges::all_of(told.rows, [](const Row& row) {
            return row.end != End::Failed || row.said.find(kMachine) != row.said.npos;
        }))
        return {};
    std::string text = std::string("\n") + kMachine;
    for (const auto& [name, what] : lab::Look())
        text += "  " + name + "    " + what + "\n";
    return text;
}

// Runs the tests of a program, adds to its output how it ended, and says what it has told. `restarts` is what QTV_RESTART says to them.
Results RunTests(const Job& job, const std::string& program, const std::wstring& arguments,
                 const std::string& restarts) {
    const ULONGLONG start = GetTickCount64();
    const fs::path output = NextOutput(job, program);
    (void)SetEnvironmentVariableW(L"QTV_RESTART", restarts.empty() ? nullptr : tools::Wide(restarts).c_str());
    const DWORD exitCode = RunProgram(job, program, arguments, output);
    const std::string machine = UntoldMachine(program, output, exitCode);
    std::ofstream(output, std::ios::app | std::ios::binary) << machine << kEnded << exitCode;
    Results rows;
    AddFile(rows, output);
    std::printf("%-20s %s, %llu s\n", program.c_str(), rows.Counts().c_str(),
                (GetTickCount64() - start) / 1000);
    (void)std::fflush(stdout);
    return rows;
}

// ---- the run ----

int WriteReports(const Job& job) {
    std::vector<fs::path> outputs;
    for (const auto& entry : fs::directory_iterator(job.results / "output"))
        outputs.push_back(entry.path());
    std::ranges::sort(outputs);
    Results results;
    for (const fs::path& output : outputs)
        AddFile(results, output);
    const std::string about = Read(job.results / "about.txt");
    Write(job.results / "results.xml", ToJUnit(results, about));
    Write(job.results / "facts.md", ToFacts(results, about));
    Write(job.results / "results.txt", ToText(results, about));
    return results.ExitCode();
}

int Report(const Job& job) {
    ForgetRestart();
    const int exitCode = WriteReports(job);
    const std::string text = Read(job.results / "results.txt");
    Say("\n" + text.substr(0, text.find("\n\n")) + "\nthe results are in " + Utf8(job.results));
    std::error_code error;
    for (const char* const name : {"about.txt", "output", "waiting.txt"})
        fs::remove_all(job.results / name, error);
    return exitCode;
}

// Waits for the report of the run that goes on. Under Windows this program is ended meanwhile.
int AwaitReport(const Job& job) {
    for (const ULONGLONG start = GetTickCount64(); fs::exists(WaitingFile(job.results)); Sleep(kPollMs))
        if (GetTickCount64() - start > kLongestMs)
            throw CantRun("the machine doesn't restart: run.cmd /go-on");
    return Read(job.results / "results.xml").find("<failure") == std::string::npos ? 0 : 1;
}

}  // namespace

// Each test that needs restarts begins anew, and ends at its first restart. After that it goes on.
int GoOn(const Job& job) {
    if (!fs::exists(WaitingFile(job.results)))
        throw CantRun("no run in " + Utf8(job.results) + " waits for a restart: name its folder by /results");
    std::istringstream lines(Read(WaitingFile(job.results)));
    std::vector<Waiting> waiting;
    for (Waiting each; lines >> each.program >> each.name >> each.restarts;)
        waiting.push_back(each);
    while (!waiting.empty()) {
        Waiting& next = waiting.front();
        const Results rows = RunTests(job, next.program, L"--gtest_filter=" + tools::Wide(next.name),
                                      std::to_string(next.restarts));
        const bool asks = rows.rows.size() == 1 && rows.rows[0].end == End::NotRun &&
                          rows.rows[0].said.find(kGoesOn) != std::string::npos;
        const bool goesOn = asks && next.restarts++ < kMostRestarts;
        if (asks && !goesOn)
            Write(NextOutput(job, next.program),
                  "[ RUN      ] " + next.name + "\nit restarts the machine again and again\n" + kEnded + "1");
        if (!goesOn) waiting.erase(waiting.begin());
        std::string text;
        for (const Waiting& each : waiting)
            text += each.program + " " + each.name + " " + std::to_string(each.restarts) + "\n";
        Write(WaitingFile(job.results), text);
        if (!goesOn) continue;
        // A sandbox may be thrown away by its restart.
        (void)WriteReports(job);
        Say("the machine restarts, and the run goes on after it");
        if (Restart(job.Program("kit"), job.results)) return AwaitReport(job);
        Say("the machine doesn't restart");
        break;
    }
    RemoveTouched();
    return Report(job);
}

int Run(const Job& job) {
    RequireWholeKit(job);
    const std::vector<std::string> programs = WantedPrograms(job);
    RequireUse(job);
    MakeResults(job);
    const std::string restarts = job.neverRestarts || job.restarts ? "never" : "";
    RemoveTouched();
    const lab::State before = LookAtOthers();
    std::string waiting;
    for (const std::string& program : programs)
        for (const Row& row : RunTests(job, program, L"", restarts).rows)
            if (row.end == End::NotRun && row.said.find(kNeedsRestart) != row.said.npos)
                waiting += program + " " + row.name + " 0\n";
    RemoveTouched();
    const auto changes = lab::Differences(before, LookAtOthers()).size();
    Write(job.results / "about.txt",
          "system: " + NameOfSystem() + "\nkit: " + Read(job.folder / "version.txt") +
              "changes of others during the run: " + std::to_string(changes) + "\n");
    if (!job.restarts) return Report(job);
    Write(WaitingFile(job.results), waiting);
    return GoOn(job);
}

}  // namespace kit
