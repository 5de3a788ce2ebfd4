// The text form of a registry, in UTF-8 without a byte order mark.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "registry/registry_tree.h"

namespace winhost {

// Skips each line that can't be read. If the line of a key can't be read, its values are skipped too.
std::unique_ptr<RegistryNode> ParseRegistry(std::string_view text);
// Keeps the text of each key in the tree, so that the next call formats only keys that have changed.
std::string FormatRegistry(RegistryNode& root);

}  // namespace winhost
