// Starting a program of the machine as a host process.
#pragma once

#include <windows.h>

#include <sys/types.h>

#include <optional>
#include <string>

#include "processes/process_table.h"

namespace winhost {

// Returns the program that a command line without an application name means. It is a quoted name, or else the first
// file that is found when the name is cut at each blank in turn. Empty, with the last error set, when there is none.
std::u16string FindCommand(std::u16string_view commandLine);

struct StartedProcess {
    pid_t id = 0;
    ProcessFiles files;
};
// Starts the program (a full or relative Windows path) in `folder`, or in the current folder when `folder` is null, and
// records the start as an event. Returns none, with the last error set, when it can't be started.
std::optional<StartedProcess> StartProgram(const std::u16string& program, const std::u16string& commandLine,
                                           LPCWSTR folder);

}  // namespace winhost
