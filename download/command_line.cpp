#include "command_line.h"

namespace download {

bool IsSilentRun() {
    bool isSilent = false;
    for (int position = 1; position < __argc; ++position) {
        if (_wcsicmp(__wargv[position], TEXT("-v")) == 0) return false;
        if (_wcsicmp(__wargv[position], TEXT("-sconf")) == 0) return true;
        if (_wcsicmp(__wargv[position], TEXT("-s")) == 0) isSilent = true;
    }
    return isSilent;
}

CString OwnArguments(LPCWSTR line) {
    // The name ends at a blank outside quotes.
    for (bool isQuoted = false; *line && (isQuoted || (*line != ' ' && *line != '\t')); ++line)
        if (*line == '"') isQuoted = !isQuoted;
    while (*line == ' ' || *line == '\t')
        ++line;
    return line;
}

}  // namespace download
