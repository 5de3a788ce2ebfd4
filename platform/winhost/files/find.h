// What a search tells of a file or folder.
#pragma once

#include <windows.h>

#include <string>

namespace winhost {

void Describe(const std::string& folder, const std::string& name, WIN32_FIND_DATAW& data);

}  // namespace winhost
