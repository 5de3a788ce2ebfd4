// Full discs and cut power. The scenarios, the promises and the exceptions are those of the sweep.
#include <algorithm>
#include <map>
#include <vector>

#include "common/throwaway_folder.h"
#include "stress/findings.h"
#include "stress/parts.h"
#include "sweep/scenarios.h"
#include "sweep/trials.h"

namespace fs = std::filesystem;

namespace stress {

namespace {

using namespace sweep;

constexpr char kAllPrograms[] = "*";
// The smallest number of cuts for each scenario in a whole run, and the number in a quick one.
constexpr std::uint64_t kCuts = 1200, kQuickCuts = 6, kQuickRestarts = 2;
constexpr std::uint64_t kQuickRooms = 3;
// The rooms of a scenario are divided into this many shares.
constexpr std::uint64_t kShares = 16;
// In every fourth of the cuts the restart is cut too, at one of these steps.
constexpr std::uint64_t kCutRestartEach = 4, kRestartSteps = 9;

// The wizard's install uses the same calls to change the machine, so it is left out.
const std::vector<Scenario>& SilentScenarios() {
    static const std::vector<Scenario> silent = [] {
        std::vector<Scenario> all = Scenarios();
        std::erase_if(
            all, [](const Scenario& scenario) { return scenario.name == std::string("install-wizard"); });
        return all;
    }();
    return silent;
}

struct Machines {
    tools::ThrowawayFolder work{"stress", PlaceToWork()};
    const fs::path& folder = work.Path();
    std::map<std::string, Reference> references;
};

void PrepareAll(Machines& machines, const fs::path& setup) {
    fs::create_directory(machines.folder / "known");
    CaptureErrors(machines.folder / "errors");
    for (const Scenario& scenario : SilentScenarios()) {
        const fs::path prepared = machines.folder / scenario.name;
        Prepare(scenario, prepared, setup, QTV_BUILD_FOLDER);
        machines.references[scenario.name] = MakeReference(scenario, prepared, machines.folder / "reference");
    }
}

Disturbance Limited(const Scenario& scenario, const winhost::Limits& limits) {
    Disturbance disturbance{.program = scenario.programs.front(), .call = "", .limits = limits};
    if (limits.steps != UINT64_MAX) disturbance.program = kAllPrograms;
    return disturbance;
}

// Runs the scenario within the limits in a copy of the machine. This process stays in that machine.
winhost::LimitsMet RunWithin(const Scenario& scenario, const Machines& machines, const fs::path& machine,
                             const winhost::Limits& limits) {
    fs::remove_all(machine);
    CopyMachine(machines.folder / scenario.name, machine);
    winhost::EnterMachine(machine);
    const FilesInUse inUse;
    return Run(scenario.commandLine, scenario.programs.front(), Limited(scenario, limits)).met;
}

Outcome TryLimits(const Scenario& scenario, const winhost::Limits& limits, const Machines& machines,
                  const fs::path& own, std::ostream& lines, unsigned cutRestart = 0) {
    const Disturbance disturbance = Limited(scenario, limits);
    const Outcome outcome = Try(scenario, disturbance, machines.references.at(scenario.name),
                                machines.folder / scenario.name, own, machines.folder / "known", cutRestart);
    const std::string again = cutRestart ? ", and in the restart after " + std::to_string(cutRestart) : "";
    const char* const prefix = CutsPower(disturbance) ? "power:" : "full:";
    Write(lines, {scenario.name, scenario.name, prefix + outcome.met.call, Describe(disturbance) + again},
          outcome.problems);
    return outcome;
}

// Rooms from `first` on, below `end`. Each is the smallest room at which one more write succeeds.
struct Share {
    const Scenario* scenario;
    std::uint64_t first;
    std::uint64_t end;
};

std::vector<Share> SharesOf(const Scenario& scenario, const Machines& machines, bool quick) {
    const fs::path machine = machines.folder / "machine";
    // A disc may have less room than a deletion frees, because other programs use that room at once.
    const std::uint64_t least = RunWithin(scenario, machines, machine, {.room = 0}).leastRefused;
    const std::uint64_t without = winhost::BytesUsed();
    (void)RunWithin(scenario, machines, machine, {});
    const std::uint64_t most = std::max({winhost::BytesUsed(), without, least + 1});
    std::vector<Share> shares;
    const std::uint64_t count = quick ? kQuickRooms : kShares;
    for (std::uint64_t i = 0; i < count; ++i) {
        const std::uint64_t from = least + (most - least) * i / count;
        const std::uint64_t to = least + (most - least) * (i + 1) / count;
        shares.push_back({&scenario, i == 0 ? 0 : from, quick ? from : i + 1 == count ? UINT64_MAX : to});
    }
    return shares;
}

struct Cut {
    const Scenario* scenario;
    std::uint64_t step;
    bool ofRestart;
    unsigned cutRestart;
};

// If there are few steps, each is cut several times, with another cut of the restart each time.
std::vector<Cut> CutsOf(const Scenario& scenario, const Machines& machines, bool quick, std::FILE* report) {
    const std::uint64_t steps = RunWithin(scenario, machines, machines.folder / "machine", {}).steps;
    std::vector<Cut> cuts;
    const std::uint64_t count = quick ? kQuickCuts : std::max(steps, kCuts);
    for (std::uint64_t number = 0; number < count; ++number) {
        const std::uint64_t step = quick ? steps * number / count : number % steps;
        std::uint64_t restart = number / steps;
        if (restart == 0 && number % kCutRestartEach == 0)
            restart = number / kCutRestartEach % kRestartSteps + 1;
        cuts.push_back({&scenario, step, false, static_cast<unsigned>(restart)});
    }
    winhost::SetLimits({});
    winhost::RestartMachine();
    const std::uint64_t restartSteps = winhost::LiftLimits().steps;
    std::fprintf(report, "power:%s: %llu steps, %llu of the restart after it\n", scenario.name,
                 static_cast<unsigned long long>(steps), static_cast<unsigned long long>(restartSteps));
    const std::uint64_t each = quick ? restartSteps / kQuickRestarts + 1 : 1;
    for (std::uint64_t step = 0; step < restartSteps; step += each)
        cuts.push_back({&scenario, step, true, 0});
    return cuts;
}

void TryRestart(const Cut& cut, const Machines& machines, const fs::path& own, std::ostream& lines) {
    const Outcome outcome =
        TryCutRestart(*cut.scenario, machines.references.at(cut.scenario->name),
                      machines.folder / cut.scenario->name, own, static_cast<unsigned>(cut.step));
    Write(lines,
          {std::string(cut.scenario->name) + ", restart", cut.scenario->name, "power:restart",
           "after step " + std::to_string(cut.step)},
          outcome.problems);
}

}  // namespace

bool FullDisc(const Options& options, std::FILE* report) {
    Machines machines;
    PrepareAll(machines, options.setup);
    std::vector<Share> shares;
    for (const Scenario& scenario : SilentScenarios())
        for (const Share& share : SharesOf(scenario, machines, options.quick))
            shares.push_back(share);
    const auto task = [&](std::size_t number, const fs::path& own, std::ostream& lines) {
        const Share& share = shares[number];
        std::uint64_t room = share.first;
        do
            room = TryLimits(*share.scenario, {.room = room}, machines, own, lines).met.leastRefused;
        while (room < share.end);
    };
    return Report(DoTasks(machines.folder, shares.size(), task), "full:", !options.quick, report);
}

bool CutPower(const Options& options, std::FILE* report) {
    Machines machines;
    PrepareAll(machines, options.setup);
    std::vector<Cut> cuts;
    for (const Scenario& scenario : SilentScenarios())
        for (const Cut& cut : CutsOf(scenario, machines, options.quick, report))
            cuts.push_back(cut);
    const auto task = [&](std::size_t number, const fs::path& own, std::ostream& lines) {
        const Cut& cut = cuts[number];
        if (cut.ofRestart)
            TryRestart(cut, machines, own, lines);
        else
            (void)TryLimits(*cut.scenario, {.steps = cut.step}, machines, own, lines, cut.cutRestart);
    };
    return Report(DoTasks(machines.folder, cuts.size(), task), "power:", !options.quick, report);
}

}  // namespace stress
