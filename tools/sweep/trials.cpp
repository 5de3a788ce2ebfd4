#include "sweep/trials.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <set>
#include <stdexcept>

#include "winhost.h"

namespace fs = std::filesystem;

namespace sweep {

namespace {

constexpr char kGone[] = "gone";

bool IsMark(const std::string& item) {
    return item.starts_with("mark: ");
}

std::string What(const State& state, const std::string& item) {
    const auto found = state.find(item);
    if (found == state.end()) return kGone;
    return IsMark(item) ? "marked" : found->second;
}

}  // namespace

std::vector<Problem> Differences(const State& now, const std::vector<const State*>& allowed, Stage stage) {
    std::set<std::string> items;
    for (const auto& [item, what] : now)
        items.insert(item);
    for (const State* state : allowed)
        for (const auto& [item, what] : *state)
            items.insert(item);
    std::vector<Problem> problems;
    for (const std::string& item : items) {
        const std::string what = What(now, item);
        if (std::none_of(allowed.begin(), allowed.end(),
                         [&](const State* state) { return What(*state, item) == what; }))
            problems.push_back({stage, item, what});
    }
    return problems;
}

namespace {

// Each item must be as before, or as an undisturbed run leaves it, now or after the restart.
std::vector<Problem> OddItems(const State& now, const Reference& reference) {
    return Differences(now, {&reference.before, &reference.after, &reference.restarted}, Stage::AtOnce);
}

void Add(std::vector<Problem>& problems, const std::vector<Problem>& more) {
    for (const Problem& problem : more)
        if (std::find(problems.begin(), problems.end(), problem) == problems.end())
            problems.push_back(problem);
}

std::string StateText(const State& state) {
    std::string text;
    for (const auto& [item, what] : state)
        text += item + '\t' + what + '\n';
    return text;
}

// Compares the machine that this process has entered, after a repair and a restart, with the undisturbed one.
std::vector<Problem> Remedied(const RunOutcome& remedy, const Reference& reference, Stage stage) {
    winhost::RestartMachine();
    std::vector<Problem> problems = Differences(TakeState(), {&reference.restarted}, stage);
    if (!remedy.complaint.empty()) problems.push_back({Stage::Run, "a later run", remedy.complaint});
    return problems;
}

bool IsAbout(const std::vector<Problem>& problems, const std::string& item) {
    return std::any_of(problems.begin(), problems.end(),
                       [&](const Problem& problem) { return problem.item == item; });
}

// The next start of the machine. The power goes after `step` steps of it.
winhost::LimitsMet CutRestart(unsigned step) {
    const pid_t id = fork();
    if (id == 0) {
        winhost::SetLimits({.steps = step});
        winhost::RestartMachine();
        _exit(0);
    }
    (void)waitpid(id, nullptr, 0);
    return winhost::LiftLimits();
}

// Tries one remedy after the other, each stronger than the last one. A problem counts for the last remedy that left it.
// If the power went, the machine was restarted before everything else.
std::vector<Problem> TryRemedies(const Scenario& scenario, const Reference& reference, const fs::path& spare,
                                 bool restarts, unsigned cutRestart) {
    std::vector<std::vector<Problem>> tries;
    if (!restarts) {
        tries.push_back(Remedied(RunAgain(scenario), reference, Stage::Second));
        winhost::EnterMachine(spare);
    }
    if (cutRestart) (void)CutRestart(cutRestart);
    winhost::RestartMachine();
    std::vector<Problem> problems = OddItems(TakeState(), reference);
    if (restarts || !tries.back().empty())
        tries.push_back(
            Remedied(RunAgain(scenario), reference, scenario.installs ? Stage::ForGood : Stage::Lasting));
    if (!tries.back().empty() && !scenario.installs) {
        Install();
        tries.push_back(Remedied(RunAgain(scenario), reference, Stage::ForGood));
    }
    for (std::size_t i = 0; i < tries.size(); ++i)
        for (const Problem& problem : tries[i])
            if (i + 1 == tries.size() || !IsAbout(tries[i + 1], problem.item)) problems.push_back(problem);
    return problems;
}

const char* StageText(Stage stage) {
    switch (stage) {
        case Stage::Run:
            return "the run";
        case Stage::AtOnce:
            return "until a second run";
        case Stage::Second:
            return "until a restart and a second run";
        case Stage::Lasting:
            return "until it is installed and uninstalled again";
        case Stage::ForGood:
            return "for good";
    }
    return "";
}

void Save(const fs::path& file, const std::vector<Problem>& problems) {
    const fs::path fresh = file.native() + "." + std::to_string(getpid());
    {
        std::ofstream lines(fresh);
        for (const Problem& problem : problems)
            lines << ToLine(problem) << '\n';
    }
    fs::rename(fresh, file);
}

std::vector<Problem> Load(const fs::path& file) {
    std::vector<Problem> problems;
    std::ifstream lines(file);
    for (std::string line; std::getline(lines, line);)
        problems.push_back(FromLine(line));
    return problems;
}

}  // namespace

std::string ToText(const Problem& problem) {
    return StageText(problem.stage) + (": " + problem.item + ": " + problem.what);
}

std::string ToLine(const Problem& problem) {
    return std::to_string(static_cast<int>(problem.stage)) + '\t' + problem.item + '\t' + problem.what;
}

Problem FromLine(const std::string& line) {
    const auto item = line.find('\t') + 1;
    const auto what = line.find('\t', item) + 1;
    return {static_cast<Stage>(std::stoi(line)), line.substr(item, what - item - 1), line.substr(what)};
}

Reference MakeReference(const Scenario& scenario, const fs::path& prepared, const fs::path& work) {
    Reference reference;
    for (const std::string& program : scenario.programs) {
        fs::remove_all(work);
        CopyMachine(prepared, work);
        winhost::EnterMachine(work);
        reference.before = TakeState();
        {
            const FilesInUse inUse;
            const RunOutcome outcome = Run(scenario.commandLine, program);
            if (!outcome.complaint.empty())
                throw std::runtime_error(std::string(scenario.name) + ", undisturbed: " + outcome.complaint);
            reference.calls[program] = outcome.calls;
        }
        reference.after = TakeState();
        winhost::RestartMachine();
        reference.restarted = TakeState();
    }
    fs::remove_all(work);
    return reference;
}

Outcome Try(const Scenario& scenario, const Disturbance& disturbance, const Reference& reference,
            const fs::path& prepared, const fs::path& work, const fs::path& known, unsigned cutRestart) {
    const fs::path machine = work / "machine", spare = work / "spare";
    fs::remove_all(machine);
    CopyMachine(prepared, machine);
    winhost::EnterMachine(machine);
    Outcome result;
    std::vector<Problem>& problems = result.problems;
    {
        const FilesInUse inUse;
        const RunOutcome outcome = Run(scenario.commandLine, disturbance.program, disturbance);
        if (!outcome.complaint.empty()) problems.push_back({Stage::Run, "the run", outcome.complaint});
        result.met = outcome.met;
    }
    const State left = TakeState();
    Add(problems, OddItems(left, reference));

    const bool restarts = CutsPower(disturbance);
    const fs::path record =
        known / (std::string(scenario.name) + (restarts ? "-cut" : "") + std::to_string(cutRestart) + "-" +
                 std::to_string(std::hash<std::string>()(StateText(left))));
    if (!fs::exists(record)) {
        fs::remove_all(spare);
        if (!restarts) CopyMachine(machine, spare);
        Save(record, TryRemedies(scenario, reference, spare, restarts, cutRestart));
    }
    Add(problems, Load(record));
    return result;
}

Outcome TryCutRestart(const Scenario& scenario, const Reference& reference, const fs::path& prepared,
                      const fs::path& work, unsigned step) {
    const fs::path machine = work / "machine";
    fs::remove_all(machine);
    CopyMachine(prepared, machine);
    winhost::EnterMachine(machine);
    {
        const FilesInUse inUse;
        (void)Run(scenario.commandLine, scenario.programs.front());
    }
    Outcome result;
    result.met = CutRestart(step);
    result.met.call = kRestart;
    result.problems = TryRemedies(scenario, reference, machine, true, 0);
    return result;
}

}  // namespace sweep
