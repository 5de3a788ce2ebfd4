// Names in a snapshot that the system changes by itself.
#pragma once

#include <string>

namespace tools {

// Whether the system changes the key of this name by itself: the shell changes lists of its own whenever a program asks
// for a folder, 64-bit Windows shows some keys to 32-bit programs a second time, and Wine's windows leave keys of Wine.
bool IsSystemsOwn(const std::string& name);

}  // namespace tools
