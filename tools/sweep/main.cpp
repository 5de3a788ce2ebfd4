// sweep SETUP [--quick] [fault|kill]
//
// Disturbs every platform call that an installation, an update and an uninstall make, one run for each, and
// looks at what is left. SETUP is the setup program under test, which may be of another build than this tool.
// Ends with 0 when all that was found has its place in the table of exceptions.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <fstream>
#include <new>
#include <set>
#include <stdexcept>
#include <thread>

#include "common/throwaway_folder.h"
#include "sweep/exceptions.h"
#include "sweep/scenarios.h"
#include "sweep/trials.h"

namespace fs = std::filesystem;

namespace {

using namespace sweep;

// A quick sweep takes every use of a call at once, and each of these many single uses.
constexpr unsigned kQuickStep = 11;

struct Options {
    fs::path setup;
    bool quick = false;
    bool faults = true;
    bool kills = true;
};

// Where the report goes: standard output and error are those of the programs run.
std::FILE* report;

struct Trial {
    const Scenario* scenario;
    Disturbance disturbance;
};

// A file system that runs programs and has room, in memory if there is one.
fs::path PlaceToWork() {
    for (const fs::path& folder : {fs::path("/dev/shm"), fs::temp_directory_path()}) {
        struct statvfs info;
        constexpr unsigned long kNeeded = 1ul << 30;
        if (statvfs(folder.c_str(), &info) == 0 && !(info.f_flag & ST_NOEXEC) &&
            info.f_bavail * info.f_frsize >= kNeeded)
            return folder;
    }
    throw std::runtime_error("no folder to work in");
}

std::vector<Trial> Plan(const Scenario& scenario, const Reference& reference, const Options& options) {
    std::vector<Trial> plan;
    unsigned place = 0;
    for (const std::string& program : scenario.programs) {
        for (const auto& [call, count] : reference.calls.at(program)) {
            if (options.faults) plan.push_back({&scenario, {program, call, 0, false}});
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

std::vector<Finding> ReadFindings(const fs::path& path) {
    std::vector<Finding> findings;
    std::ifstream file(path);
    std::size_t trial;
    for (std::string line; file >> trial && file.get() && std::getline(file, line);)
        findings.push_back({trial, FromLine(line)});
    return findings;
}

struct Work {
    const std::vector<Trial>& trials;
    const std::map<std::string, Reference>& references;
    const fs::path& folder;
};

void DoTrials(const Work& work, std::atomic<std::size_t>& next, const fs::path& own) {
    std::ofstream findings(own / "findings");
    for (std::size_t i; (i = next++) < work.trials.size();) {
        const auto& [scenario, disturbance] = work.trials[i];
        for (const Problem& problem : Try(*scenario, disturbance, work.references.at(scenario->name),
                                          work.folder / scenario->name, own, work.folder / "known"))
            findings << i << '\t' << ToLine(problem) << '\n';
    }
    if (!findings.flush()) throw std::runtime_error("the findings can't be written");
}

// All trials, spread over the processors. A process each: a machine is a matter of the whole process.
std::vector<Finding> DoAll(const Work& work) {
    void* shared = mmap(nullptr, sizeof(std::atomic<std::size_t>), PROT_READ | PROT_WRITE,
                        MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    auto& next = *new (shared) std::atomic<std::size_t>(0);
    const unsigned workers = std::max(1u, std::thread::hardware_concurrency());
    std::vector<pid_t> ids;
    for (unsigned i = 0; i < workers; ++i) {
        const fs::path own = work.folder / std::to_string(i);
        fs::create_directories(own);
        const pid_t id = fork();
        if (id == 0) {
            CaptureErrors(own / "errors");
            int result = 0;
            try {
                DoTrials(work, next, own);
            } catch (const std::exception& failure) {
                std::fprintf(stderr, "%s\n", failure.what());
                result = 1;
            }
            _exit(result);
        }
        ids.push_back(id);
    }
    std::vector<Finding> findings;
    for (unsigned i = 0; i < workers; ++i) {
        int status = 0;
        (void)waitpid(ids[i], &status, 0);
        const fs::path own = work.folder / std::to_string(i);
        if (status != 0) {
            std::ifstream errors(own / "errors");
            throw std::runtime_error("a worker failed: " +
                                     std::string(std::istreambuf_iterator<char>(errors), {}));
        }
        for (Finding& finding : ReadFindings(own / "findings"))
            findings.push_back(std::move(finding));
    }
    return findings;
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

// Prints a line for each scenario and kind of disturbance, and all that isn't in the table.
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
        std::fprintf(report, "%s, %s: %s: %s: %s\n", trial.scenario->name,
                     Describe(trial.disturbance).c_str(), StageText(finding.problem.stage),
                     finding.problem.item.c_str(), finding.problem.what.c_str());
    }
    for (const auto& [name, row] : rows)
        std::fprintf(report, "%-26s %5zu tried, %4zu in the table of exceptions, %zu unexplained\n",
                     name.c_str(), row.trials, row.explained.size(), row.unexplained.size());
    // A row that a whole sweep never needs says more than is true.
    if (!options.quick && options.faults && options.kills)
        for (const Exception& exception : Exceptions())
            if (!uses[&exception] && exception.stage != Stage::Run) {
                std::fprintf(report, "never needed: %s, %s, %s\n", exception.scenarios, exception.calls,
                             exception.items);
                ++unexplained;
            }
    return unexplained == 0 ? 0 : 1;
}

int Sweep(const Options& options) {
    const tools::ThrowawayFolder work("sweep", PlaceToWork());
    const fs::path& folder = work.Path();
    fs::create_directory(folder / "known");
    CaptureErrors(folder / "errors");
    std::vector<Trial> trials;
    std::map<std::string, Reference> references;
    for (const Scenario& scenario : Scenarios()) {
        Prepare(scenario, folder / scenario.name, options.setup, QTV_BUILD_FOLDER);
        references[scenario.name] = MakeReference(scenario, folder / scenario.name, folder / "reference");
        for (Trial& trial : Plan(scenario, references[scenario.name], options))
            trials.push_back(std::move(trial));
    }
    return Report(trials, DoAll({trials, references, folder}), options);
}

std::optional<Options> ReadOptions(const std::vector<std::string>& arguments) {
    Options options;
    for (const std::string& argument : arguments) {
        if (argument == "--quick")
            options.quick = true;
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
        std::fprintf(stderr, "use: sweep SETUP [--quick] [fault|kill]\n");
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
