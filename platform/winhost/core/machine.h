// The machine that this process is in.
#pragma once

#include <windows.h>
#include <winhost.h>

#include <filesystem>
#include <string>

namespace winhost {

// Returns the host folder of this process's machine. A process outside any machine ends here with exit code 2 and one
// line on standard error.
const std::filesystem::path& Root();
// Returns the path of the marker file. It marks the folder as a machine and holds the version of the system.
std::filesystem::path MarkerFile(const std::filesystem::path& root);
// Returns the full Windows path of the program that this process runs. It stays the same when the file is renamed.
const std::u16string& ProgramPath();
// Returns the Windows path of a host file. A file outside the machine counts as "C:\\".
std::u16string WindowsPath(const std::filesystem::path& host);
// Makes this process one of another machine. Each part of the system forgets what it remembered of the former one.
void BelongTo(const std::filesystem::path& root, std::u16string_view program);
// Registers a function that runs when a process enters another
// machine. It forgets what was remembered of the former one.
void OnEnter(void (*forget)());
// Ends the run: the machine does not model a call, flag or argument.
[[noreturn]] void NotModelled(const char* call, const std::string& what);

}  // namespace winhost
