// Two runs at once on one machine. The second one starts after a random time.
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <stdexcept>
#include <thread>
#include <vector>

#include "common/hang.h"
#include "common/throwaway_folder.h"
#include "stress/findings.h"
#include "stress/parts.h"
#include "sweep/scenarios.h"
#include "sweep/trials.h"

namespace fs = std::filesystem;

namespace stress {

namespace {

using namespace sweep;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr unsigned kSeeds = 600, kQuickSeeds = 8;
constexpr milliseconds kHang{tools::kHangMs};

struct Pair {
    const char* name;
    const char* first;   // names of scenarios
    const char* second;  // also decides whether the last run installs or removes
    bool fresh;          // the product is not installed yet
    bool wizard;         // the first run shows its wizard, whose Next is pressed again and again
};
constexpr Pair kPairs[] = {
    {"two fresh installations", "install", "install", true, false},
    {"two installations", "install", "install", false, false},
    {"an installation, then a removal", "install", "uninstall", false, false},
    {"a removal, then an installation", "uninstall", "install", false, false},
    {"two removals", "uninstall", "uninstall", false, false},
    {"a wizard, then an installation", "install", "install", false, true},
    {"a wizard, then a removal", "install", "uninstall", false, true},
    {"a removal, then a wizard", "uninstall", "wizard", false, true},
};

constexpr char16_t kWizardLine[] = u"C:\\Package\\setup.exe";
// The answers to all boxes that may come. They let the run continue.
const std::vector<int> kGoOn(64, IDYES);

// The machine after the last run and a restart. In `after`, the two runs of the pair came before, one after the other;
// in `without` they didn't.
struct Ends {
    State after;
    State without;
};

struct Machines {
    tools::ThrowawayFolder work{"stress", PlaceToWork()};
    const fs::path& folder = work.Path();
    std::map<std::string, Ends> ends;  // by the pair's name
    // What no run changes, by `fresh` of the pair.
    std::map<bool, State> others;
};

fs::path Start(const Machines& machines, bool fresh) {
    return machines.folder / (fresh ? "install" : "uninstall");
}

const char* LastOf(const Pair& pair) {
    return std::string(pair.second) == "uninstall" ? "uninstall" : "install";
}

// Returns the machine after undisturbed runs, one after the other, with a restart after each.
State EndOf(const Machines& machines, bool fresh, const std::vector<std::string>& runs) {
    const fs::path machine = machines.folder / "reference";
    fs::remove_all(machine);
    CopyMachine(Start(machines, fresh), machine);
    winhost::EnterMachine(machine);
    for (const std::string& run : runs) {
        const RunOutcome outcome = RunAgain(ScenarioOf(run == "wizard" ? "install" : run));
        if (!outcome.complaint.empty()) throw std::runtime_error(outcome.complaint);
        winhost::RestartMachine();
    }
    return TakeState();
}

State Common(const State& left, const State& right) {
    State common;
    for (const auto& item : left)
        if (right.contains(item.first) && right.at(item.first) == item.second) common.insert(item);
    return common;
}

void PrepareAll(Machines& machines, const fs::path& setup) {
    CaptureErrors(machines.folder / "errors");
    for (const char* start : {"install", "uninstall"})
        Prepare(ScenarioOf(start), machines.folder / start, setup, QTV_BUILD_FOLDER);
    for (const Pair& pair : kPairs)
        machines.ends[pair.name] = {EndOf(machines, pair.fresh, {pair.first, pair.second, LastOf(pair)}),
                                    EndOf(machines, pair.fresh, {LastOf(pair)})};
    const State removed = EndOf(machines, false, {"uninstall"});
    for (const bool fresh : {true, false})
        machines.others[fresh] = Common(EndOf(machines, fresh, {"install"}), removed);
}

HANDLE StartLine(std::u16string line) {
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, u"C:\\", &startup,
                        &process))
        return nullptr;
    (void)CloseHandle(process.hThread);
    return process.hProcess;
}

// Presses Next in every open wizard.
void PressNext() {
    for (HWND dialog = nullptr; (dialog = FindWindowExW(nullptr, dialog, u"#32770", nullptr));) {
        const HWND next = GetDlgItem(dialog, IDOK);
        if (next && IsWindowVisible(dialog) && IsWindowEnabled(next))
            (void)PostMessageW(next, BM_CLICK, 0, 0);
    }
}

// Waits until all programs have ended. Returns false if they hang. With `wizard`, presses Next at random times.
bool AwaitEnd(std::mt19937& random, bool wizard) {
    const auto end = Clock::now() + kHang;
    while (!winhost::WaitForProcesses(wizard ? static_cast<DWORD>(random()) % 20 : 1000)) {
        if (Clock::now() > end) return false;
        if (wizard) PressNext();
    }
    return true;
}

std::u16string LineOf(const Pair& pair, const std::string& name, bool isFirst) {
    const bool shows = pair.wizard && (name == "wizard" || (isFirst && name == "install"));
    return shows ? kWizardLine : ScenarioOf(name).commandLine;
}

// Does one more run and a restart. Returns the difference from a machine of undisturbed runs. After a removal that left
// something, the product is installed and removed once more.
std::vector<Problem> Finish(const Pair& pair, const Machines& machines) {
    const Ends& ends = machines.ends.at(pair.name);
    std::vector<Problem> problems;
    const auto run = [&](const char* scenario) {
        const RunOutcome outcome = RunAgain(ScenarioOf(scenario));
        if (!outcome.complaint.empty()) problems.push_back({Stage::Run, "a later run", outcome.complaint});
        winhost::RestartMachine();
    };
    const auto left = [&] { return Differences(TakeState(), {&ends.after, &ends.without}, Stage::ForGood); };
    run(LastOf(pair));
    std::vector<Problem> first = left();
    if (first.empty() || ScenarioOf(LastOf(pair)).installs) {
        problems.insert(problems.end(), first.begin(), first.end());
        return problems;
    }
    run("install");
    run("uninstall");
    const std::vector<Problem> lasting = left();
    problems.insert(problems.end(), lasting.begin(), lasting.end());
    for (Problem& problem : first) {
        if (std::any_of(lasting.begin(), lasting.end(),
                        [&](const Problem& other) { return other.item == problem.item; }))
            continue;
        problem.stage = Stage::Lasting;
        problems.push_back(problem);
    }
    return problems;
}

std::vector<Problem> Try(const Pair& pair, unsigned seed, const Machines& machines, const fs::path& own) {
    std::mt19937 random(seed);
    const fs::path machine = own / "machine";
    fs::remove_all(machine);
    CopyMachine(Start(machines, pair.fresh), machine);
    winhost::EnterMachine(machine);
    winhost::SetBoxAnswers(kGoOn);
    (void)!ftruncate(STDERR_FILENO, 0);
    unsetenv("WINHOST_FAULTS");
    unsetenv("WINHOST_COUNTS");
    setenv("WINHOST_CLOCK", "virtual", 1);

    const HANDLE first = StartLine(LineOf(pair, pair.first, true));
    std::this_thread::sleep_for(milliseconds(random() % 100));
    const HANDLE second = StartLine(LineOf(pair, pair.second, false));
    std::vector<Problem> problems;
    if (!AwaitEnd(random, pair.wizard)) {
        problems.push_back({Stage::Run, "the runs", "hang"});
        (void)winhost::EndProcesses(tools::kHangMs);
    }
    for (const HANDLE process : {first, second}) {
        DWORD exitCode = 0;
        if (process && GetExitCodeProcess(process, &exitCode) && exitCode > 1)
            problems.push_back({Stage::Run, "exit code", std::to_string(exitCode)});
        (void)CloseHandle(process);
    }
    std::ifstream errors("/proc/self/fd/2");
    std::string text{std::istreambuf_iterator<char>(errors), {}};
    std::replace(text.begin(), text.end(), '\n', ' ');
    if (!text.empty()) problems.push_back({Stage::Run, "standard error", text});

    State now = TakeState();
    for (const auto& [item, what] : machines.others.at(pair.fresh)) {
        const auto found = now.find(item);
        if (found == now.end() || found->second != what)
            problems.push_back({Stage::AtOnce, item, found == now.end() ? "gone" : found->second});
    }
    winhost::RestartMachine();
    winhost::SetBoxAnswers({});
    for (const Problem& problem : Finish(pair, machines))
        problems.push_back(problem);
    return problems;
}

}  // namespace

bool TwoAtOnce(const Options& options, std::FILE* report) {
    Machines machines;
    PrepareAll(machines, options.setup);
    const unsigned seeds = options.quick ? kQuickSeeds : kSeeds;
    const auto pairOf = [](std::size_t seed) -> const Pair& { return kPairs[seed % std::size(kPairs)]; };
    const auto task = [&](std::size_t seed, const fs::path& own, std::ostream& lines) {
        const Pair& pair = pairOf(seed);
        Write(lines, {pair.name, LastOf(pair), "two:", "seed " + std::to_string(seed)},
              Try(pair, static_cast<unsigned>(seed), machines, own));
    };
    // What a run meets is a matter of chance, so a row of the table need not be used each time.
    return Report(DoTasks(machines.folder, seeds, task), "two:", false, report);
}

}  // namespace stress
