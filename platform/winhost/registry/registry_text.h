// The usual text form of a registry, in UTF-8 without a mark.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "registry/registry_store.h"

namespace winhost {

// A line that can't be read is passed over, and so are the values below a key that can't be.
std::unique_ptr<RegistryNode> ParseRegistry(std::string_view text);
std::string FormatRegistry(const RegistryNode& root);

}  // namespace winhost
