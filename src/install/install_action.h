// The one operation that changes the machine during an install.
#pragma once

#include <framework.h>

// Carries out the install that the variables of the run describe. No step's failure stops the next one;
// nothing is undone and nothing reported.
void PerformInstall();
