// The running Windows, as the kit sees it.
#pragma once

#include <filesystem>
#include <string>

#include "lab/lab.h"

namespace kit {

// What the system calls itself: name, version with build, processor. Under Wine also Wine's version.
std::string NameOfSystem();

// Whether Windows itself throws this machine away: Windows Sandbox.
bool IsSandbox();

// All that setup and the tests don't touch: files of drive C by size and time of change, and keys of the registry. Names
// are digests, so that they tell nobody anything.
lab::State LookAtOthers();

// Removes what setup and the tests have left of themselves: the table in lab/touched.cpp.
void RemoveTouched();

// The text without what tells whose machine it is: folders and names of the user and of the machine.
std::string Nobodys(std::string text);

// Restarts the machine, whose next start runs the program `kit`, so that the run with these results goes on. Returns false
// if the restart is refused. Windows soon ends this program, Wine doesn't.
bool Restart(const std::filesystem::path& kit, const std::filesystem::path& results);
// The results of the run that has restarted this machine, until ForgetRestart; empty if there is none.
std::filesystem::path RestartedFor();
void ForgetRestart();

}  // namespace kit
