// A run of the kit on this machine.
#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace kit {

// Why nothing can be run. The text says what to do.
struct CantRun : std::runtime_error {
    using runtime_error::runtime_error;
};

// What is to be done. Of the first switches, none or one is set.
struct Job {
    bool goesOn = false, opensSandbox = false;
    bool mayChange = false, restarts = false, neverRestarts = false;
    std::filesystem::path folder, results;  // of the kit, and of what it reports
    std::vector<std::string> only;          // the programs to run; all if it is empty

    std::filesystem::path Program(const std::string& name) const {
        return folder / "programs" / (name + ".exe");
    }
};

// Both return 0, or 1 if something failed. GoOn is called after a restart.
int Run(const Job& job);
int GoOn(const Job& job);

// Throws CantRun if a file of the kit is missing or shorter than it was.
void RequireWholeKit(const Job& job);

void Say(const std::string& text);
std::string Utf8(const std::filesystem::path& path);
// Returns an empty text for what can't be read, and throws CantRun for what can't be written.
std::string Read(const std::filesystem::path& path);
void Write(const std::filesystem::path& path, const std::string& text);

}  // namespace kit
