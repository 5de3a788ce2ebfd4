// The text form of a registry, in UTF-8 without a byte order mark.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "registry/registry_tree.h"

namespace winhost {

// Skips each line that can't be read. If the line of a key can't be read, its values are skipped too.
std::unique_ptr<RegistryNode> ParseRegistry(std::string_view text);
std::string FormatRegistry(RegistryNode& root);

}  // namespace winhost
