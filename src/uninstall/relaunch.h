// The uninstaller can't empty the folder that it runs from, so it goes through a copy of itself.
#pragma once

#include <framework.h>

// Copies the program to the temporary folder and replaces this process by the copy. Returns only when that
// failed.
void RelaunchFromTemp();

// The temporary copy's job, on the folder of the first program, whose path stands at position 2 of the
// argument vector. Ends the process with exit code 0.
[[noreturn]] void RunTemporaryCopy();
