// Starting a program of the machine as a host process.
#pragma once

#include <windows.h>

#include <sys/types.h>

#include <optional>
#include <string>

#include "processes/process_table.h"

namespace winhost {

// The program that a command line without an application name means: a quoted name, or the first of the names
// that end at one blank after the other that is found. Empty, with the last error set, when there is none.
std::u16string FindCommand(std::u16string_view commandLine);

struct StartedProcess {
    pid_t id = 0;
    ProcessFiles files;
};
// Starts the program (a full or relative Windows path) in `folder`, or in the current folder for null, and
// records the start. None, with the last error set, when it can't be started.
std::optional<StartedProcess> StartProgram(const std::u16string& program, const std::u16string& commandLine,
                                           LPCWSTR folder);

}  // namespace winhost
