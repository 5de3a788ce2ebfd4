// The machine that this process is in.
#pragma once

#include <windows.h>

#include <filesystem>
#include <string>

#include "winhost.h"

#include "core/host_io.h"

namespace winhost {

// The machine of this process. A process outside any machine ends here, with 2 and one line on standard
// error.
const std::filesystem::path& Root();
// The file that names a folder a machine; it holds the version of the system.
std::filesystem::path MarkerFile(const std::filesystem::path& root);
// The program that this process runs, as a full Windows path. It stays as it was when the file is renamed.
const std::u16string& ProgramPath();
// The Windows path of a file in the machine's folder.
std::u16string WindowsPath(const std::filesystem::path& host);
// Makes this process one of another machine, and lets every subject forget what it kept of the last one.
void BelongTo(const std::filesystem::path& root, std::u16string_view program);
// Runs when a process enters another machine, so that a subject forgets what it kept of the last one.
void OnEnter(void (*forget)());
// Ends the run: a call, flag or argument that this machine does not model.
[[noreturn]] void NotModelled(const char* call, const std::string& what);

}  // namespace winhost
