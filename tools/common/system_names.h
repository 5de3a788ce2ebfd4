// Names in a snapshot that the system itself changes.
#pragma once

#include <string>

namespace tools {

// Whether the system itself changes the key of this name. The shell changes its own lists whenever a program asks for a
// folder, 64-bit Windows shows some keys to 32-bit programs a second time, and Wine's windows leave keys of Wine.
bool IsSystemsOwn(const std::string& name);

}  // namespace tools
