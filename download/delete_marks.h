// What the next start of the machine deletes if this run is killed.
#pragma once

#include <framework.h>

#include <vector>

namespace download {

// Adds paths to those that the next start of the machine deletes, in one step, in their order. Returns an error code, or 0.
DWORD MarkForNextStart(const std::vector<CString>& paths);

// Takes back the marks of the folder and of all that is in it. The marks of others stay, in their order.
DWORD WithdrawMarks(const CString& folder);

}  // namespace download
