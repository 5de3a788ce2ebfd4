// One disturbed run, and what is wrong with the resulting machine.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "sweep/machines.h"
#include "sweep/scenarios.h"

namespace sweep {

// How long a machine stays in a wrong state.
enum class Stage {
    Run,      // not about the machine: a crash or a hang
    AtOnce,   // until a second run and a restart
    Second,   // until a restart, a second run and a restart
    Lasting,  // until the product is installed again and then uninstalled
    ForGood,  // none of these helps
};

struct Problem {
    Stage stage;
    std::string item;  // as in State
    std::string what;  // its present state; "gone" if it is missing
    bool operator==(const Problem&) const = default;
};

// A problem for the reader.
std::string ToText(const Problem& problem);
// A problem as one line of text, and back.
std::string ToLine(const Problem& problem);
Problem FromLine(const std::string& line);

// Returns each item whose present state is in none of the allowed machines.
std::vector<Problem> Differences(const State& now, const std::vector<const State*>& allowed, Stage stage);

// The machines of an undisturbed run.
struct Reference {
    State before;
    State after;
    State restarted;
    std::map<std::string, std::map<std::string, unsigned>> calls;  // by program, then by call
};

// Runs the scenario undisturbed in copies of the prepared machine, in the folder `work`.
Reference MakeReference(const Scenario& scenario, const std::filesystem::path& prepared,
                        const std::filesystem::path& work);

struct Outcome {
    std::vector<Problem> problems;
    winhost::LimitsMet met;
};
// Tries one disturbance in copies of the prepared machine, below `work`. Findings about a machine are stored in the
// folder `known`, so that no machine is examined twice, not even by another process. If the power is cut, the restart
// comes before the second run. With `cutRestart` set, the restart is also cut at that step and begun again.
Outcome Try(const Scenario& scenario, const Disturbance& disturbance, const Reference& reference,
            const std::filesystem::path& prepared, const std::filesystem::path& work,
            const std::filesystem::path& known, unsigned cutRestart = 0);

// The call that stands for the restart in a disturbance.
inline constexpr char kRestart[] = "restart";
// Runs the scenario undisturbed, and cuts the power at a step of the restart, which is then begun again.
Outcome TryCutRestart(const Scenario& scenario, const Reference& reference,
                      const std::filesystem::path& prepared, const std::filesystem::path& work,
                      unsigned step);

}  // namespace sweep
