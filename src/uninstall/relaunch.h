// The uninstaller can't empty the folder that it runs from, so it works through a copy of itself.
#pragma once

#include <framework.h>

// Copies the program to the temporary folder and replaces this process by the copy.
// Returns only when that fails.
void RelaunchFromTemp();

// Does the temporary copy's job on the folder of the first program, whose path is argument 2. Ends
// the process with exit code 0.
[[noreturn]] void RunTemporaryCopy();
