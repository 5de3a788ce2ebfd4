// The functions of scratch.h that each target has its own version of.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "harness/scratch.h"

// Ids of the running programs that this test program started, directly or through others.
std::vector<DWORD> StartedPrograms();

// A path of the build machine as the running system spells it.
std::filesystem::path BuildPath(const std::string& path);
// The test program's own file.
std::filesystem::path OwnProgram();
// A path of the machine as the build machine's functions take it.
std::filesystem::path MachinePath(const Text& path);

// Carries the boot-time marks out.
void CarryOutMarks();
// Wine's folder browser takes a folder for another one when its time of access has changed. After this call
// reading no longer changes the time of the folder and of those above it.
void HoldAccessTimes(const Text& folder);

// From now on message boxes of this process and of those it started take these buttons, in order. A box without a
// button left, or without that button, takes its safest one and counts as unanswered too.
struct Boxes {
    std::vector<ShownBox> shown;
    std::vector<ShownBox> unanswered;
};
void StartBoxes(std::vector<int> buttons);
Boxes BoxesSoFar();

// Runs the tests, or the named body in a child. The entries of both targets call this.
int RunTestsOrChild();
