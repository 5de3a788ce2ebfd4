// What the download reads of its command line.
#pragma once

#include <framework.h>

namespace download {

// Whether the command line asks for a silent run, by setup's own rules.
bool IsSilentRun();

// The rest of the command line after the program's name, byte for byte.
CString OwnArguments(LPCWSTR commandLine);

}  // namespace download
