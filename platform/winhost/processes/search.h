// Searches files as Windows searches programs and libraries.
#pragma once

#include <string_view>

#include "files/paths.h"

namespace winhost {

enum class Wanted { Program, Library, SystemLibrary };

// Searches for a file as Windows does: in the program's folder, the current one, System32, Windows and the folders of
// Path. For a library, the current folder comes after Windows. A full path is taken as it is. So is a relative path of
// a program, but a library's relative path is tried below each of the folders. `extension` is added to a name without a
// dot. A library of the system is searched for in System32 only. Returns the place of the first file that is found; otherwise the error of the place says why.
Place SearchFile(std::u16string_view name, std::u16string_view extension, Wanted wanted);

}  // namespace winhost
