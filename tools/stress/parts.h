// The parts of a stress test. Each writes its figures and findings
// to the report. Each returns whether everything is as promised.
#pragma once

#include <cstdio>
#include <filesystem>

namespace stress {

struct Options {
    std::filesystem::path setup;  // the program under test
    bool quick = false;
};

// A disc with more and more room: an installation, an update
// and an uninstall at every limit at which something changes.
bool FullDisc(const Options& options, std::FILE* report);
// The power goes at every step of an installation, an update and an uninstall, and of the restart after them.
bool CutPower(const Options& options, std::FILE* report);
// Two setups, a setup and an uninstaller, or two uninstallers at once on one machine, silent and with the wizard.
bool TwoAtOnce(const Options& options, std::FILE* report);
// The list of running copies with eight processes that start and end. Some of them are killed.
bool SharedList(const Options& options, std::FILE* report);
// Large packages and logs, whose calls, times and memory are compared with those of smaller ones, and paths that are
// too long. Sanitizers would keep memory that was freed, so the program is one without them.
bool Large(const Options& options, std::FILE* report);

}  // namespace stress
