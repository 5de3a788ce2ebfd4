// What a sweep runs: a fresh install, an update of an earlier version, an install in the wizard, and an uninstall, each
// with a small package.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "sweep/machines.h"

namespace sweep {

struct Scenario {
    const char* name;
    std::u16string commandLine;
    std::vector<std::string> programs;  // the programs whose calls are disturbed, in the order of their start
    bool installs;                      // false for the uninstall
};
// All scenarios, in the order in which they are run.
const std::vector<Scenario>& Scenarios();
const Scenario& ScenarioOf(const std::string& name);

// Makes the machine for the scenario, and enters it with this process. `setup` is the program under test, `helpers` a build
// folder with the sample programs.
void Prepare(const Scenario& scenario, const std::filesystem::path& root, const std::filesystem::path& setup,
             const std::filesystem::path& helpers);

// Runs the setup program of the package undisturbed, and restarts the machine.
void Install();

// Files of the product in use while the object exists: a loaded library and a file that another program holds. A file that
// does not exist is skipped.
class FilesInUse {
  public:
    FilesInUse();
    FilesInUse(const FilesInUse&) = delete;
    FilesInUse& operator=(const FilesInUse&) = delete;

  private:
    std::shared_ptr<void> m_running, m_held;
};

// Runs the setup program of the scenario once more, undisturbed, as a user would. If the program of an uninstall no longer
// exists, a copy of the uninstaller from the package does the work.
RunOutcome RunAgain(const Scenario& scenario);

}  // namespace sweep
