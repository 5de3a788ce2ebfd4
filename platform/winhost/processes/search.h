// Files looked for as Windows looks for programs and libraries.
#pragma once

#include <string_view>

#include "core/host_io.h"
#include "files/paths.h"

namespace winhost {

// Looks for a file as Windows does: a name with a path is taken as it stands; a bare one is looked for in the
// program's folder, the current one, System32, Windows and those of Path (`systemFirst`: the current folder
// comes after Windows). The extension is added to a name without a dot. The place of the first one found that
// is no folder; otherwise its error says why.
Place SearchFile(std::u16string_view name, std::u16string_view extension, bool systemFirst);

}  // namespace winhost
