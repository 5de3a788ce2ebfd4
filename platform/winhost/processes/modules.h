// The modules of this process.
#pragma once

#include <windows.h>

#include <string_view>

namespace winhost {

// Returns the handle of the program's own module.
HMODULE ProgramModule();
// Whether the handle stands for it: its own one, or null.
bool IsProgramModule(HMODULE handle);
// Whether the name is that of a system library: every process has it, and it is no file of the machine.
bool IsSystemLibrary(std::u16string_view name);

}  // namespace winhost
