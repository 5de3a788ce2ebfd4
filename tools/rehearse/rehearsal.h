// A package's life on a machine: installed, uninstalled, with a look at the machine after each step.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "rehearse/machine.h"
#include "snapshot/snapshot.h"

namespace rehearse {

// Where the machine has the packages. A folder that isn't there counts as no package.
inline constexpr char kPackage[] = "C:\\Package\\";
inline constexpr char kEarlierPackage[] = "C:\\Earlier package\\";

// Names in all of these are those of snapshot/names.h. Of a file `before` and `after` say which one of a
// package it is ("as in the package", "readme-en.txt of the package", "as in the earlier package"), or its
// size.
using Changes = std::vector<snapshot::Change>;

struct Step {
    std::string name;
    std::string command;  // empty for none
    Outcome outcome;
    Changes changes;                    // against the step before
    std::vector<std::string> logLines;  // what the log has behind the manifest, once it is there
    std::vector<std::string> marks;     // what waits for the next start, in order
    Changes remains;                    // after an uninstall: against the machine before all
};

struct Leftover {
    snapshot::Change change;
    std::string reason;  // why it may stay; empty when it should not be there
};

struct Rehearsal {
    std::vector<Step> steps;
    std::vector<Leftover> left;
    // 0, or 1 when something is left that should not be.
    int ExitCode() const;
};

// Runs it all on the machine: the earlier package, the package, the uninstaller, the next start. Both setups
// get the options. `seen` is called after each step.
Rehearsal Rehearse(const std::vector<std::string>& options, const std::function<void(const Step&)>& seen);

}  // namespace rehearse
