// The one operation that changes the machine during an install.
#pragma once

#include <framework.h>

// Carries out the install that the variables of the run describe. A step that fails doesn't stop the next
// one. Nothing is undone and nothing is reported.
void PerformInstall();
