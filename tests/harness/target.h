// The functions that scratch.h needs and that each target implements in its own way.
#pragma once

#include <filesystem>
#include <set>
#include <vector>

#include "harness/scratch.h"

// Returns the ids of the running programs that this test program started, directly or through others.
std::set<DWORD> StartedPrograms();

// Returns the path of the test program's own file.
std::filesystem::path OwnProgram();
// Returns a path of the machine as the functions of the build machine need it.
std::filesystem::path MachinePath(const Text& path);

// When a folder's time of access has changed, Wine's folder browser no longer recognises the folder. After this call, reading no
// longer changes that time, neither for the folder nor for those above it.
void HoldAccessTimes(const Text& folder);

// From now on, message boxes of this process and of those it started take these buttons, in order. A box that finds no
// button left, or lacks the button, takes its safest one and counts as unanswered.
void StartBoxes(std::vector<int> buttons);
// Returns the boxes since StartBoxes.
std::vector<ShownBox> BoxesSoFar();

// Runs the tests, or in a child the named body. Called by the entries of both targets.
int RunTestsOrChild();
