// sweep SETUP [--quick] [--call=NAME] [fault|kill]
//
// Disturbs every platform call of an installation, an update and an uninstall, one run for each call, and examines the
// resulting machine. SETUP is the setup program under test, which may come from another build than this tool.
// The exit code is 0 if all findings are in the table of exceptions.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <set>
#include <stdexcept>

#include "common/throwaway_folder.h"
#include "sweep/exceptions.h"
#include "sweep/scenarios.h"
#include "sweep/trials.h"
#include "sweep/workers.h"

namespace fs = std::filesystem;

namespace {

using namespace sweep;

// A quick sweep disturbs all uses of a call together, and one of this many single uses.
constexpr unsigned kQuickStep = 11;
constexpr std::string_view kCall = "--call=";

struct Options {
    fs::path setup;
    bool quick = false;
    std::string call;  // the only one to disturb; empty for all
    bool faults = true;
    bool kills = true;
};

// The report is written here, because the programs use standard output and error.
std::FILE* report;

struct Trial {
    const Scenario* scenario;
    Disturbance disturbance;
};

// Chance decides how often the wizard waits for messages. So a call that only the wizard makes fails at every use, and
// the process is killed only at its first use.
bool OnlyOfTheWizard(const Scenario& scenario, const Reference& install, const std::string& call) {
    return scenario.name == std::string("install-wizard") &&
           !install.calls.at(scenario.programs[0]).contains(call);
}

std::vector<Trial> Plan(const Scenario& scenario, const std::map<std::string, Reference>& references,
                        const Options& options) {
    const Reference& reference = references.at(scenario.name);
    std::vector<Trial> plan;
    unsigned place = 0;
    for (const std::string& program : scenario.programs) {
        for (const auto& [call, count] : reference.calls.at(program)) {
            if (!options.call.empty() && call != options.call) continue;
            if (options.faults) plan.push_back({&scenario, {program, call, 0, false}});
            if (OnlyOfTheWizard(scenario, references.at("install"), call)) {
                if (options.kills) plan.push_back({&scenario, {program, call, 1, true}});
                continue;
            }
            for (unsigned nth = 1; nth <= count; ++nth) {
                if (options.quick && ++place % kQuickStep != 0) continue;
                if (options.faults && count > 1) plan.push_back({&scenario, {program, call, nth, false}});
                if (options.kills) plan.push_back({&scenario, {program, call, nth, true}});
            }
        }
    }
    return plan;
}

struct Finding {
    std::size_t trial;
    Problem problem;
};

std::vector<Finding> DoAll(const std::vector<Trial>& trials,
                           const std::map<std::string, Reference>& references, const fs::path& folder) {
    const auto task = [&](std::size_t number, const fs::path& own, std::ostream& lines) {
        const auto& [scenario, disturbance] = trials[number];
        const Outcome outcome = Try(*scenario, disturbance, references.at(scenario->name),
                                    folder / scenario->name, own, folder / "known");
        for (const Problem& problem : outcome.problems)
            lines << ToLine(problem) << '\n';
    };
    std::vector<Finding> findings;
    for (const TaskLine& line : DoTasks(folder, trials.size(), task))
        findings.push_back({line.number, FromLine(line.line)});
    return findings;
}

// Prints a line for each scenario and kind of disturbance, and everything that isn't in the table. Returns whether all
// is in order.
int Report(const std::vector<Trial>& trials, const std::vector<Finding>& findings, const Options& options) {
    struct Row {
        std::size_t trials = 0;
        std::set<std::size_t> explained, unexplained;
    };
    std::map<std::string, Row> rows;
    const auto rowOf = [&](const Trial& trial) -> Row& {
        return rows[std::string(trial.scenario->name) +
                    (trial.disturbance.kills ? ", killed" : ", a call fails")];
    };
    for (const Trial& trial : trials)
        ++rowOf(trial).trials;
    std::map<const Exception*, std::size_t> uses;
    std::size_t unexplained = 0;
    for (const Finding& finding : findings) {
        const Trial& trial = trials[finding.trial];
        if (const Exception* exception = FindException(*trial.scenario, trial.disturbance, finding.problem)) {
            ++uses[exception];
            rowOf(trial).explained.insert(finding.trial);
            continue;
        }
        ++unexplained;
        rowOf(trial).unexplained.insert(finding.trial);
        std::fprintf(report, "%s, %s: %s\n", trial.scenario->name, Describe(trial.disturbance).c_str(),
                     ToText(finding.problem).c_str());
    }
    for (const auto& [name, row] : rows)
        std::fprintf(report, "%-26s %5zu tried, %4zu in the table of exceptions, %zu unexplained\n",
                     name.c_str(), row.trials, row.explained.size(), row.unexplained.size());
    // A full sweep needs every row. A row that is not needed is wrong.
    if (!options.quick && options.call.empty() && options.faults && options.kills)
        for (const Case& each : Cases())
            for (const Exception& exception : each.exceptions)
                if (IsOf(exception, "") && !uses[&exception] && exception.stage != Stage::Run) {
                    std::fprintf(report, "never needed: %s, %s, %s\n", exception.scenarios, exception.calls,
                                 exception.items);
                    ++unexplained;
                }
    return unexplained == 0 ? 0 : 1;
}

// Prints each table of cases that differs from the one in the document.
bool DocumentAgrees() {
    std::ifstream file(QTV_SOURCE_FOLDER "/docs/reliability.md");
    const std::string document{std::istreambuf_iterator<char>(file), {}};
    bool agrees = true;
    for (const Stage stage : {Stage::AtOnce, Stage::Second, Stage::Lasting, Stage::ForGood}) {
        const std::string table = CaseTable(stage);
        if (document.find("\n\n" + table + '\n') != document.npos) continue;
        std::fprintf(report, "docs/reliability.md should say:\n%s", table.c_str());
        agrees = false;
    }
    return agrees;
}

int Sweep(const Options& options) {
    if (!DocumentAgrees()) return 1;
    const tools::ThrowawayFolder work("sweep", PlaceToWork());
    const fs::path& folder = work.Path();
    fs::create_directory(folder / "known");
    CaptureErrors(folder / "errors");
    std::vector<Trial> trials;
    std::map<std::string, Reference> references;
    for (const Scenario& scenario : Scenarios()) {
        Prepare(scenario, folder / scenario.name, options.setup, QTV_BUILD_FOLDER);
        references[scenario.name] = MakeReference(scenario, folder / scenario.name, folder / "reference");
        for (Trial& trial : Plan(scenario, references, options))
            trials.push_back(std::move(trial));
    }
    return Report(trials, DoAll(trials, references, folder), options);
}

std::optional<Options> ReadOptions(const std::vector<std::string>& arguments) {
    Options options;
    for (const std::string& argument : arguments) {
        if (argument == "--quick")
            options.quick = true;
        else if (argument.starts_with(kCall))
            options.call = argument.substr(kCall.size());
        else if (argument == "fault")
            options.kills = false;
        else if (argument == "kill")
            options.faults = false;
        else if (options.setup.empty())
            options.setup = fs::absolute(argument);
        else
            return std::nullopt;
    }
    if (options.setup.empty() || !(options.faults || options.kills)) return std::nullopt;
    return options;
}

}  // namespace

int main(int count, char** values) {
    const auto options = ReadOptions({values + 1, values + count});
    if (!options) {
        std::fprintf(stderr, "usage: sweep SETUP [--quick] [--call=NAME] [fault|kill]\n");
        return 2;
    }
    report = fdopen(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3), "w");
    try {
        const int result = Sweep(*options);
        return std::fflush(report) == 0 ? result : 2;
    } catch (const std::exception& failure) {
        std::fprintf(report, "sweep: %s\n", failure.what());
        return 2;
    }
}
