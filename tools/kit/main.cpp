// kit: runs all programs of tests on this Windows and reports. docs/windows.md says how it is used.
//   kit.exe [/this-machine-may-be-changed] [/restart | /no-restart] [/results FOLDER] [/only NAME]...
//   kit.exe /sandbox [/restart]     opens Windows Sandbox, where the kit runs by itself
//   kit.exe /go-on [/results FOLDER]     after a restart
#include <windows.h>

#include <shellapi.h>
#include <shlobj.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "common/hang.h"
#include "kit/machine.h"
#include "kit/report.h"
#include "lab/lab.h"
#include "support/handles.h"

namespace fs = std::filesystem;

namespace {

constexpr int kCantRun = 2;
constexpr DWORD kLongestMs = 6 * tools::kHangMs, kPollMs = 500;
constexpr ULONGLONG kRoom = 300'000'000;  // in bytes: the tests' largest files and the results
constexpr char kEnded[] = "\nkit: the program ended with ";
constexpr char kGoesOn[] = "it goes on after a restart";
constexpr char kNeedsRestart[] = "it needs a restart of the machine";
constexpr int kMostRestarts = 3;  // of one test

// What ends the run with kCantRun. The text says what to do.
struct CantRun : std::runtime_error {
    using runtime_error::runtime_error;
};

struct Options {
    bool mayChange = false, restarts = false, neverRestarts = false, goesOn = false, opensSandbox = false;
    fs::path results;
    std::vector<std::wstring> only;
};
constexpr std::pair<const wchar_t*, bool Options::*> kSwitches[] = {
    {L"/this-machine-may-be-changed", &Options::mayChange},
    {L"/restart", &Options::restarts},
    {L"/no-restart", &Options::neverRestarts},
    {L"/go-on", &Options::goesOn},
    {L"/sandbox", &Options::opensSandbox},
};

// A test that goes on after a restart: its program, its name, and how often the machine has restarted for it.
struct Waiting {
    std::string program, name;
    int restarts = 0;
};

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
    if (!file) throw CantRun(Utf8(path) + " can't be written: make room, or name another folder by /results");
}

class Kit {
  public:
    Kit(fs::path folder, Options options) : m_folder(std::move(folder)), m_options(std::move(options)) {
        if (m_options.results.empty()) m_options.results = m_folder / "results";
        m_options.results = fs::absolute(m_options.results);
        // Windows may name the folder of a long user name by its short name.
        wchar_t path[MAX_PATH] = {};
        (void)GetTempPathW(MAX_PATH, path);
        (void)GetLongPathNameW(path, path, MAX_PATH);
        for (const wchar_t* const name : {L"TEMP", L"TMP"})
            (void)SetEnvironmentVariableW(name, path);
        (void)SetEnvironmentVariableW(L"QTV_KIT", m_options.results.c_str());
        (void)SetEnvironmentVariableW(L"QTV_REHEARSAL", L"1");
        (void)SetEnvironmentVariableW(L"QTV_PACKAGE", nullptr);
    }

    int Run();
    int GoOn();
    int OpenSandbox() const;

  private:
    void RequireWholeKit() const;
    void RequireUse() const;
    void MakeResults() const;
    fs::path WaitingFile() const { return m_options.results / "waiting.txt"; }
    fs::path Program(const std::string& name) const { return m_folder / "programs" / (name + ".exe"); }
    bool IsWanted(const std::string& name) const {
        return m_options.only.empty() ||
               std::any_of(m_options.only.begin(), m_options.only.end(),
                           [&](const std::wstring& only) { return tools::Utf8(only) == name; });
    }
    std::vector<std::string> TestPrograms() const;
    fs::path NextOutput(const std::string& program) const;
    DWORD RunProgram(const std::string& program, const std::wstring& arguments, const fs::path& output) const;
    kit::Results Ended(const fs::path& output, DWORD exitCode, ULONGLONG start) const;
    kit::Results RunTests(const std::string& program, const std::wstring& arguments,
                          const std::string& restarts) const;
    void RunCommand(const std::string& program, DWORD (Kit::*command)(const fs::path&) const) const;
    DWORD CheckPackages(const fs::path& output) const;
    DWORD RehearsePackages(const fs::path& output) const;
    DWORD InstallDownload(const fs::path& output) const;
    int Report() const;
    int AwaitReport() const;

    const fs::path m_folder;
    Options m_options;
};

// ---- before the run ----

// A zip that was cut has lost files, or parts of them. contents.txt has a line for each: size and name.
void Kit::RequireWholeKit() const {
    std::istringstream lines(Read(m_folder / "contents.txt"));
    std::string name;
    std::uintmax_t size = 0, count = 0;
    for (; lines >> size && std::getline(lines.ignore(), name); ++count) {
        std::error_code error;
        if (fs::file_size(m_folder / tools::Wide(name), error) != size || error)
            throw CantRun(name + " is missing or not whole: unpack the whole zip again");
    }
    if (count == 0) throw CantRun("contents.txt is missing: unpack the whole zip again");
}

void Kit::RequireUse() const {
    if (!m_options.mayChange && !kit::IsSandbox())
        throw CantRun(
            "this machine isn't marked as throwaway, and the tests install and remove the product for all "
            "users, delete "
            "C:\\Scratch, and forget what other programs have left to the next start. Use Windows Sandbox "
            "(sandbox.cmd), "
            "or say so: run.cmd /this-machine-may-be-changed");
    // A sandbox may start the kit at each start of its machine.
    if (kit::HasRestarted())
        throw CantRun(
            "a run that has restarted this machine goes on by itself; run.cmd /go-on does it by hand");
    if (!IsUserAnAdmin())
        throw CantRun("the rights of an administrator are missing: right-click, Run as administrator");
    for (const fs::path& drive : {fs::path("C:\\"), m_options.results.root_path()}) {
        ULARGE_INTEGER room = {};
        if (GetDiskFreeSpaceExW(drive.c_str(), &room, nullptr, nullptr) && room.QuadPart < kRoom)
            throw CantRun("there is no room on the drive " + Utf8(drive) + ": make 300 MB free");
    }
}

// Nothing of an earlier run stays.
void Kit::MakeResults() const {
    std::error_code error;
    for (const char* const name :
         {"results.xml", "results.txt", "facts.md", "about.txt", "before.txt", "waiting.txt", "output"})
        fs::remove_all(m_options.results / name, error);
    fs::create_directories(m_options.results / "output", error);
    Write(m_options.results / "about.txt", "");
}

// ---- programs ----

std::vector<std::string> Kit::TestPrograms() const {
    std::vector<std::string> programs = {"machine_tests"};
    for (const auto& entry : fs::directory_iterator(m_folder / "programs"))
        if (const std::string name = Utf8(entry.path().stem());
            name.ends_with("_tests") && name != programs[0])
            programs.push_back(name);
    std::sort(programs.begin() + 1, programs.end());
    return programs;
}

fs::path Kit::NextOutput(const std::string& program) const {
    const fs::path folder = m_options.results / "output";
    const auto count = std::distance(fs::directory_iterator(folder), {});
    return folder / (std::to_string(100 + count) + " " + program + ".txt");
}

// Appends what the program writes to the file. Returns its exit code, or the system's error if it doesn't start.
DWORD Kit::RunProgram(const std::string& program, const std::wstring& arguments,
                      const fs::path& output) const {
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    const KernelHandle file(CreateFileW(output.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                        &inherited, OPEN_ALWAYS, 0, nullptr));
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = startup.hStdError = file.get();
    PROCESS_INFORMATION made = {};
    std::wstring line = L"\"" + Program(program).native() + L"\" " + arguments;
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
void AddFile(kit::Results& results, const fs::path& output) {
    const std::string text = Read(output), name = Utf8(output.stem());
    const auto end = text.rfind(kEnded);
    const unsigned long exitCode =
        end == text.npos ? ERROR_PROCESS_ABORTED : std::stoul(text.substr(end + sizeof kEnded - 1));
    kit::AddOutput(results, name.substr(name.find(' ') + 1), exitCode, kit::Nobodys(text.substr(0, end)));
}

// Adds to the output of a program how it ended, and says what it has told.
kit::Results Kit::Ended(const fs::path& output, DWORD exitCode, ULONGLONG start) const {
    std::ofstream(output, std::ios::app | std::ios::binary) << kEnded << exitCode;
    kit::Results rows;
    AddFile(rows, output);
    std::printf("%-20s %s, %llu s\n", Utf8(output.stem()).substr(4).c_str(), rows.Counts().c_str(),
                (GetTickCount64() - start) / 1000);
    (void)std::fflush(stdout);
    return rows;
}

// `restarts` is what QTV_RESTART says to the tests.
kit::Results Kit::RunTests(const std::string& program, const std::wstring& arguments,
                           const std::string& restarts) const {
    const ULONGLONG start = GetTickCount64();
    const fs::path output = NextOutput(program);
    (void)SetEnvironmentVariableW(L"QTV_RESTART", restarts.empty() ? nullptr : tools::Wide(restarts).c_str());
    return Ended(output, RunProgram(program, arguments, output), start);
}

void Kit::RunCommand(const std::string& program, DWORD (Kit::*command)(const fs::path&) const) const {
    if (!IsWanted(program)) return;
    const ULONGLONG start = GetTickCount64();
    const fs::path output = NextOutput(program);
    (void)Ended(output, (this->*command)(output), start);
}

DWORD Kit::CheckPackages(const fs::path& output) const {
    DWORD worst = 0;
    for (const wchar_t* const package : {L"package", L"package-earlier"})
        worst = std::max(
            worst,
            RunProgram("package_check", L"\"" + (m_folder / "programs" / package).native() + L"\"", output));
    return worst;
}

DWORD Kit::RehearsePackages(const fs::path& output) const {
    if (m_options.neverRestarts || m_options.restarts || !lab::CanRestart()) {
        std::ofstream(output, std::ios::app) << "it needs a machine that restarts beneath a program\n";
        return kit::kNotRun;
    }
    kit::RemoveTouched();
    fs::copy(m_folder / "programs" / "package", "C:\\Package", fs::copy_options::recursive);
    fs::copy(m_folder / "programs" / "package-earlier", "C:\\Earlier package", fs::copy_options::recursive);
    const DWORD exitCode = RunProgram("rehearse", L"package text -s", output);
    kit::RemoveTouched();
    return exitCode;
}

// The download installs the product, which then removes itself.
DWORD Kit::InstallDownload(const fs::path& output) const {
    kit::RemoveTouched();
    const lab::State before = lab::Look();
    const std::string uninstaller = "C:\\Program Files\\Qantivo 8\\QtvUnInst.exe";
    std::ofstream told(output, std::ios::app | std::ios::binary);
    bool isRight = true;
    for (const std::string& line :
         {"\"" + Utf8(Program("Qantivo")) + "\" -s", "\"" + uninstaller + "\" -s"}) {
        const lab::Outcome outcome = lab::Run(line, {});
        told << line << " ended with " << outcome.exitCode << "\n";
        for (const lab::Message& message : outcome.messages)
            told << "box: " << message.text << "\n";
        isRight = isRight && outcome.started && outcome.exitCode == 0 && outcome.messages.empty();
        const bool isThere = fs::exists(uninstaller), shouldBe = line.ends_with("Qantivo.exe\" -s");
        if (isThere != shouldBe) told << uninstaller << (isThere ? " is there\n" : " is missing\n");
        isRight = isRight && isThere == shouldBe;
    }
    for (const lab::Change& change : lab::Differences(before, lab::Look()))
        told << change.kind << " " << change.name << "\n";
    kit::RemoveTouched();
    return isRight ? 0 : 1;
}

// ---- the run ----

int Kit::Run() {
    RequireWholeKit();
    RequireUse();
    MakeResults();
    const std::string restarts = m_options.neverRestarts || m_options.restarts ? "never" : "";
    kit::RemoveTouched();
    const kit::Others before = kit::LookAtOthers();
    std::string waiting;
    for (const std::string& program : TestPrograms()) {
        if (!IsWanted(program)) continue;
        for (const kit::Row& row : RunTests(program, L"", restarts).rows)
            if (row.end == kit::End::NotRun && row.said.find(kNeedsRestart) != row.said.npos)
                waiting += program + " " + row.name + " 0\n";
    }
    RunCommand("package_check", &Kit::CheckPackages);
    RunCommand("rehearse", &Kit::RehearsePackages);
    RunCommand("download", &Kit::InstallDownload);
    kit::RemoveTouched();
    const int changes = kit::CountChanges(before, kit::LookAtOthers());
    Write(m_options.results / "about.txt",
          "system: " + kit::NameOfSystem() + "\nkit: " + Read(m_folder / "version.txt") +
              "changes of others during the run: " + std::to_string(changes) + "\n");
    if (!m_options.restarts) return Report();
    Write(WaitingFile(), waiting);
    return GoOn();
}

// Each test that needs restarts begins anew, and ends at its first restart. After that it goes on.
int Kit::GoOn() {
    if (!fs::exists(WaitingFile()))
        throw CantRun("no run in " + Utf8(m_options.results) +
                      " waits for a restart: name its folder by /results");
    std::istringstream lines(Read(WaitingFile()));
    std::vector<Waiting> waiting;
    for (Waiting each; lines >> each.program >> each.name >> each.restarts;)
        waiting.push_back(each);
    while (!waiting.empty()) {
        Waiting& next = waiting.front();
        const kit::Results rows = RunTests(next.program, L"--gtest_filter=" + tools::Wide(next.name),
                                           std::to_string(next.restarts));
        bool goesOn = rows.rows.size() == 1 && rows.rows[0].end == kit::End::NotRun &&
                      rows.rows[0].said.find(kGoesOn) != std::string::npos;
        if (goesOn && next.restarts == kMostRestarts) {
            goesOn = false;
            Write(NextOutput(next.program),
                  "[ RUN      ] " + next.name + "\nit restarts the machine again and again\n" + kEnded + "1");
        }
        if (goesOn)
            ++next.restarts;
        else
            waiting.erase(waiting.begin());
        std::string text;
        for (const Waiting& each : waiting)
            text += each.program + " " + each.name + " " + std::to_string(each.restarts) + "\n";
        Write(WaitingFile(), text);
        if (!goesOn) continue;
        Say("the machine restarts, and the run goes on after it");
        if (kit::Restart(L"\"" + Program("kit").native() + L"\" /go-on /results \"" +
                         m_options.results.native() + L"\""))
            return AwaitReport();
        Say("the machine doesn't restart");
        break;
    }
    kit::RemoveTouched();
    return Report();
}

// Waits for the report of the run that goes on. Under Windows this program is ended meanwhile.
int Kit::AwaitReport() const {
    const fs::path report = m_options.results / "results.txt";
    for (const ULONGLONG start = GetTickCount64(); !fs::exists(report); Sleep(kPollMs))
        if (GetTickCount64() - start > kLongestMs)
            throw CantRun("the machine doesn't restart: run.cmd /go-on");
    return Read(m_options.results / "results.xml").find("<failure") == std::string::npos ? 0 : 1;
}

int Kit::Report() const {
    kit::ForgetRestart();
    std::vector<fs::path> outputs;
    for (const auto& entry : fs::directory_iterator(m_options.results / "output"))
        outputs.push_back(entry.path());
    std::sort(outputs.begin(), outputs.end());
    kit::Results results;
    for (const fs::path& output : outputs)
        AddFile(results, output);
    const std::string about = Read(m_options.results / "about.txt"), text = kit::ToText(results, about);
    Write(m_options.results / "results.xml", kit::ToJUnit(results, about));
    Write(m_options.results / "facts.md", kit::ToFacts(results, about));
    Write(m_options.results / "results.txt", text);
    std::error_code error;
    for (const char* const name : {"about.txt", "before.txt", "waiting.txt", "output"})
        fs::remove_all(m_options.results / name, error);
    Say("\n" + text.substr(0, text.find("\n\n")) + "\nthe results are in " + Utf8(m_options.results));
    return results.ExitCode();
}

// ---- Windows Sandbox ----

int Kit::OpenSandbox() const {
    const fs::path results = m_folder.native() + L"-results", file = m_folder / "kit.wsb";
    std::error_code error;
    fs::create_directories(results, error);
    std::string text = Read(m_folder / "programs" / "sandbox.wsb");
    text = tools::Replaced(std::move(text), "%KIT%", tools::Replaced(Utf8(m_folder), "&", "&amp;"));
    Write(file, tools::Replaced(std::move(text), "%OPTION%", m_options.restarts ? " /restart" : ""));
    Say("the results will be in " + Utf8(results));
    if (reinterpret_cast<INT_PTR>(
            ShellExecuteW(nullptr, nullptr, file.c_str(), nullptr, nullptr, SW_SHOWNORMAL)) <= 32)
        throw CantRun("Windows Sandbox doesn't open " + Utf8(file) +
                      ": turn it on in \"Turn Windows features on or off\" (not in the Home editions)");
    return 0;
}

Options ReadOptions(int count, wchar_t** values) {
    Options options;
    for (int i = 1; i < count; ++i) {
        const std::wstring option = values[i];
        const auto found = std::find_if(std::begin(kSwitches), std::end(kSwitches),
                                        [&](const auto& each) { return option == each.first; });
        if (found != std::end(kSwitches))
            options.*found->second = true;
        else if (option == L"/results" && i + 1 < count)
            options.results = values[++i];
        else if (option == L"/only" && i + 1 < count)
            options.only.push_back(values[++i]);
        else
            throw CantRun("there is no option " + tools::Utf8(option) + ": windows.md lists them");
    }
    return options;
}

}  // namespace

int wmain(int count, wchar_t** values);

int wmain(int count, wchar_t** values) try {
    (void)SetConsoleOutputCP(CP_UTF8);
    wchar_t path[MAX_PATH] = {};
    (void)GetModuleFileNameW(nullptr, path, MAX_PATH);
    const Options options = ReadOptions(count, values);
    Kit kit(fs::path(path).parent_path().parent_path(), options);
    return options.opensSandbox ? kit.OpenSandbox() : options.goesOn ? kit.GoOn() : kit.Run();
} catch (const std::exception& error) {
    Say(std::string("run.cmd: ") + error.what());
    return kCantRun;
}
