#include "sweep/machines.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>

#include "common/hang.h"
#include "snapshot/snapshot.h"

namespace fs = std::filesystem;

namespace sweep {

namespace {

// A run takes less than a second, and the waits of the program up to five seconds.
constexpr DWORD kPressMs = 20;
constexpr int kMostPresses = 50;

std::string ReadWhole(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// What programs wrote to standard error, on one line.
std::string CapturedErrors() {
    std::string text = ReadWhole("/proc/self/fd/2");
    std::replace_if(
        text.begin(), text.end(), [](unsigned char byte) { return byte < ' '; }, ' ');
    return text;
}

std::string Neutral(const std::string& text) {
    static const std::regex temporary("\\\\(uni|q8t)[0-9a-f]{1,4}\\.tmp", std::regex::icase);
    return std::regex_replace(text, temporary, "\\$1.tmp");
}

// The application itself counts its starts.
bool IsApplicationsOwn(const std::string& name) {
    return name.ends_with(" : Starts");
}

void TakeMark(State& state, const std::string& name, const std::string& what) {
    std::string& places = state["mark: " + Neutral(what)];
    places += (places.empty() ? "" : " ") + name.substr(name.size() - 3);
}

void TakeLog(State& state, const std::string& name) {
    std::istringstream lines(ReadWhole(winhost::HostPath(kLogFile)));
    std::string manifest;
    std::map<std::string, int> records;
    bool afterManifest = false;
    for (std::string line; std::getline(lines, line);) {
        if (!afterManifest && line != "\r")
            manifest += line;
        else if (afterManifest)
            ++records[line.substr(0, line.find('\r'))];
        afterManifest = afterManifest || line == "\r";
    }
    state[name] = "a log of manifest " + std::to_string(std::hash<std::string>()(manifest));
    for (const auto& [record, count] : records)
        state["log: " + record] = count == 1 ? "once" : std::to_string(count) + " times";
}

// Presses the default button of a dialog, like a person who agrees to everything. Returns false when there is no dialog
// to see.
bool PressNext() {
    HWND dialog = nullptr;
    do {
        dialog = FindWindowExW(nullptr, dialog, u"#32770", nullptr);
        if (!dialog) return false;
    } while (!IsWindowVisible(dialog));
    DWORD_PTR result = 0;
    (void)SendMessageTimeoutW(GetDlgItem(dialog, IDOK), BM_CLICK, 0, 0, SMTO_NORMAL, tools::kHangMs, &result);
    return true;
}

enum class End { ByItself, GivenUp, Never };

// Waits for the end of all programs. If a failed call keeps a wizard on one page, the wizard is ended.
End AwaitEnd() {
    int presses = 0;
    for (DWORD waited = 0; waited < tools::kHangMs && presses < kMostPresses; waited += kPressMs) {
        if (winhost::WaitForProcesses(kPressMs)) return End::ByItself;
        if (PressNext()) ++presses;
    }
    (void)winhost::EndProcesses(tools::kHangMs);
    return presses < kMostPresses ? End::Never : End::GivenUp;
}

void SetFaultsOf(const std::string& watched, const std::optional<Disturbance>& disturbance) {
    winhost::SetVirtualClock(true);
    std::vector<winhost::Fault> faults;
    if (disturbance && !disturbance->limits)
        faults.push_back({.call = disturbance->call, .nth = disturbance->nth, .kill = disturbance->kills});
    winhost::SetProgramFaults(disturbance ? disturbance->program : watched, faults);
}

// Null if it does not start.
HANDLE Start(std::u16string commandLine) {
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, u"C:\\", &startup,
                        &process))
        return nullptr;
    (void)CloseHandle(process.hThread);
    return process.hProcess;
}

}  // namespace

bool CutsPower(const Disturbance& disturbance) {
    return disturbance.limits && disturbance.limits->steps != UINT64_MAX;
}

std::string Describe(const Disturbance& disturbance) {
    if (CutsPower(disturbance))
        return "the power goes after step " + std::to_string(disturbance.limits->steps);
    if (disturbance.limits) return "a disc for " + std::to_string(disturbance.limits->room) + " bytes";
    const std::string use = disturbance.nth ? "#" + std::to_string(disturbance.nth) : ", every use,";
    return disturbance.program + (disturbance.kills ? " killed at " : ": ") + disturbance.call + use +
           (disturbance.kills ? "" : " fails");
}

State TakeState() {
    State state;
    for (const auto& [name, what] : snapshot::Take()) {
        if (IsApplicationsOwn(name)) continue;
        if (name.starts_with("mark "))
            TakeMark(state, name, what);
        else if (winhost::Utf16(name) == kLogFile)
            TakeLog(state, name);
        else
            state[Neutral(name)] = what;
    }
    return state;
}

void CopyMachine(const fs::path& from, const fs::path& to) {
    fs::create_directories(to);
    for (auto entry = fs::recursive_directory_iterator(from); entry != fs::recursive_directory_iterator();
         ++entry) {
        const fs::path name = entry->path().lexically_relative(from);
        const fs::path target = to / name;
        if (entry->is_directory()) {
            winhost::CopyStored(entry->path(), target);
            // These are files of ended processes. A queue is also a socket, which can't be copied.
            if (name == ".state/processes" || name == ".state/queues") entry.disable_recursion_pending();
        } else if (name.native().starts_with("C/Package/") && name.extension() == ".exe") {
            fs::create_hard_link(entry->path(), target);
        } else {
            winhost::CopyStored(entry->path(), target);
        }
    }
}

void CaptureErrors(const fs::path& file) {
    const int errors = open(file.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0666);
    (void)dup2(errors, STDERR_FILENO);
    (void)dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDOUT_FILENO);
    (void)close(errors);
}

RunOutcome Run(const std::u16string& commandLine, const std::string& watched,
               const std::optional<Disturbance>& disturbance) {
    (void)!ftruncate(STDERR_FILENO, 0);
    SetFaultsOf(watched, disturbance);
    if (disturbance && disturbance->limits) winhost::SetLimits(*disturbance->limits);
    RunOutcome outcome;
    const HANDLE process = Start(commandLine);
    if (!process) outcome.complaint = "the program does not start";
    const End end = AwaitEnd();
    if (end == End::Never) outcome.complaint = "hangs";
    // A child is asked for its exit code before this process forks: only its parent can do so.
    DWORD exitCode = 0;
    (void)GetExitCodeProcess(process, &exitCode);
    (void)CloseHandle(process);
    outcome.calls = winhost::ProgramCallCounts();

    if (disturbance && disturbance->limits) outcome.met = winhost::LiftLimits();
    const bool cuts = disturbance && CutsPower(*disturbance);
    const bool kills = disturbance && disturbance->kills;
    const std::string errors = CapturedErrors();
    if (!errors.empty()) outcome.complaint = errors;
    if (cuts) {
        if (!outcome.met.powerWent) outcome.complaint += "the power did not go";
        return outcome;
    }
    if (outcome.complaint.empty() && end == End::ByItself && outcome.calls.empty() != kills)
        outcome.complaint = kills ? "the call to be killed at was not reached" : "the program crashed";
    return outcome;
}

}  // namespace sweep
