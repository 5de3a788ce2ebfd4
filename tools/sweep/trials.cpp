#include "sweep/trials.h"

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

// Each item is what it was, or what an undisturbed run makes of it, now or with the restart.
std::vector<Problem> OddItems(const State& now, const Reference& reference) {
    return Differences(now, {&reference.before, &reference.after, &reference.restarted}, Stage::AtOnce);
}

void Add(std::vector<Problem>& problems, const std::vector<Problem>& more) {
    for (const Problem& problem : more)
        if (std::find(problems.begin(), problems.end(), problem) == problems.end())
            problems.push_back(problem);
}

std::string ToText(const State& state) {
    std::string text;
    for (const auto& [item, what] : state)
        text += item + '\t' + what + '\n';
    return text;
}

// The machine entered, after a remedy and a restart, against the undisturbed one.
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

// Ever more is done to put the machine right; a problem counts for the last remedy that left it.
std::vector<Problem> TryRemedies(const Scenario& scenario, const Reference& reference,
                                 const fs::path& spare) {
    std::vector<std::vector<Problem>> tries;
    tries.push_back(Remedied(RunAgain(scenario), reference, Stage::Second));
    winhost::EnterMachine(spare);
    winhost::RestartMachine();
    std::vector<Problem> problems = OddItems(TakeState(), reference);
    if (!tries.back().empty())
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

std::vector<Problem> Try(const Scenario& scenario, const Disturbance& disturbance, const Reference& reference,
                         const fs::path& prepared, const fs::path& work, const fs::path& known) {
    const fs::path machine = work / "machine", spare = work / "spare";
    fs::remove_all(machine);
    CopyMachine(prepared, machine);
    winhost::EnterMachine(machine);
    std::vector<Problem> problems;
    {
        const FilesInUse inUse;
        const RunOutcome outcome = Run(scenario.commandLine, disturbance.program, disturbance);
        if (!outcome.complaint.empty()) problems.push_back({Stage::Run, "the run", outcome.complaint});
    }
    const State left = TakeState();
    Add(problems, OddItems(left, reference));

    const fs::path record =
        known / (std::string(scenario.name) + "-" + std::to_string(std::hash<std::string>()(ToText(left))));
    if (!fs::exists(record)) {
        fs::remove_all(spare);
        CopyMachine(machine, spare);
        Save(record, TryRemedies(scenario, reference, spare));
    }
    Add(problems, Load(record));
    return problems;
}

}  // namespace sweep
