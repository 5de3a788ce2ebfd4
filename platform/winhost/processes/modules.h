// The modules of this process.
#pragma once

#include <windows.h>

#include <string_view>

namespace winhost {

// The program's own module.
HMODULE ProgramModule();
// Whether a name is that of a library that every process has, and that is no file of the machine.
bool IsSystemLibrary(std::u16string_view name);

}  // namespace winhost
