// Collects what an install must know before it starts, runs it silently or with the wizard, and does the last step.
#pragma once

#include <framework.h>

// Does the whole install. Returns 0 when the run ended, 1 when the user stopped it. Ends the process with exit code 1
// when the setup files are damaged.
int RunInstall();

// The folder of the running program, without a closing separator; empty when its path doesn't fit.
CString GetSourceFolder();
// The Program Files folder, without a closing separator.
CString GetProgramFilesDir();

// Says that the setup files are damaged, opens the maker's home page, and ends the process with exit code 1.
[[noreturn]] void AbortDamaged();
