// Files looked for as Windows looks for programs and libraries.
#pragma once

#include <string_view>

#include "core/host_io.h"
#include "files/paths.h"

namespace winhost {

enum class Wanted { Program, Library };

// Looks for a file as Windows does: in the program's folder, the current one, System32, Windows and the
// folders of Path. For a library the current folder comes after Windows. A full path is taken as it is; a
// relative one too for a program, while a library is looked for below each of the folders. The extension is
// added to a name without a dot. Returns the place of the first file that is found; otherwise the error of
// the place says why.
Place SearchFile(std::u16string_view name, std::u16string_view extension, Wanted wanted);

}  // namespace winhost
