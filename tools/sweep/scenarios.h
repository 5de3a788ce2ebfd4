// What a sweep runs: a fresh install, an update over an earlier version, an install by the wizard, and an
// uninstall, each of a small package.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "sweep/machines.h"

namespace sweep {

inline constexpr char16_t kLogFile[] = u"C:\\Program Files\\Qantivo 8\\QtvUnInst.log";

struct Scenario {
    const char* name;
    std::u16string commandLine;
    std::vector<std::string>
        programs;   // those of the run whose calls are disturbed, in the order of their start
    bool installs;  // false for the uninstall
};
const std::vector<Scenario>& Scenarios();

// Makes the machine that the scenario starts from, and leaves this process in it. `setup` is the program
// under test, `helpers` a build's folder with the sample programs.
void Prepare(const Scenario& scenario, const std::filesystem::path& root, const std::filesystem::path& setup,
             const std::filesystem::path& helpers);

// Runs the package's setup undisturbed, and restarts the machine.
void Install();

// Files of the product in use, as long as the object lives: a library that runs and a file that another
// program holds. A file that isn't there is passed over.
class FilesInUse {
  public:
    FilesInUse();
    FilesInUse(const FilesInUse&) = delete;
    FilesInUse& operator=(const FilesInUse&) = delete;

  private:
    std::shared_ptr<void> m_running, m_held;
};

// Runs the scenario's setup once more, undisturbed, as a user would; an uninstall whose program has gone is
// run to its end by a copy of the uninstaller out of the package.
RunOutcome RunAgain(const Scenario& scenario);

}  // namespace sweep
