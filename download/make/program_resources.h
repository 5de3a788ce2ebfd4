// The resources of a Windows program of any machine: read, and replaced.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "common/text.h"

namespace download_make {

// A type or a name: a text, or a number when the text is empty.
struct ResourceName {
    tools::WideText text;
    std::uint16_t number = 0;
    bool operator==(const ResourceName&) const = default;
    // Texts first, as Windows sorts them.
    bool operator<(const ResourceName& other) const;
};

struct Resource {
    ResourceName type, name;
    std::uint16_t language = 0;
    std::string bytes;
};

inline const ResourceName kIcon{{}, 3}, kStrings{{}, 6}, kIconGroup{{}, 14}, kVersion{{}, 16};

// Returns all resources in the order of the file. Throws std::runtime_error when the bytes are no Windows program or its
// resources are damaged.
std::vector<Resource> ReadResources(std::string_view program);

// Returns the program with these resources instead of its own. Only relocations may follow its resources in the file.
std::string WithResources(std::string program, std::vector<Resource> resources);

}  // namespace download_make
