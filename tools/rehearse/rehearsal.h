// Installs and uninstalls a package on a machine, and compares the machine after each step.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "lab/lab.h"
#include "rehearse/residue.h"

namespace rehearse {

// The folders of the packages on the machine. A folder that does not exist counts as no package.
inline constexpr char kPackage[] = "C:\\Package\\";
inline constexpr char kEarlierPackage[] = "C:\\Earlier package\\";
// An update of the earlier package to the package. If it is there, it is started instead of the package's setup.
inline constexpr char kUpdate[] = "C:\\Update\\update.exe";

struct Step {
    std::string name;
    std::string command;  // empty for none
    lab::Outcome outcome;
    Changes changes;                    // against the step before
    std::vector<std::string> logLines;  // what the log has after the manifest, once it exists
    std::vector<std::string> marks;     // what waits for the next start, in order
    Changes remains;                    // after an uninstall: compared with the machine before all steps
};

// A program that ended otherwise than with 0 or showed something to a person, or a file that isn't installed.
struct Fault {
    std::string step;
    std::string what;
};

struct Rehearsal {
    std::vector<Step> steps;
    std::vector<Fault> faults;  // in the order of the steps; those of files sorted
    std::vector<Leftover> left;
    bool finished = true;
    // 0, or 1 if there is a fault, or if something is left that should not be. 2 if it was not finished: then nobody
    // knows.
    int ExitCode() const;
};

// Runs all steps on the machine: the earlier package, the package or its update, the uninstaller, the next start. Both setup
// programs get the options. `seen` is called after each step. A step that hangs is the last one.
Rehearsal Rehearse(const std::vector<std::string>& options, const std::function<void(const Step&)>& seen);

}  // namespace rehearse
