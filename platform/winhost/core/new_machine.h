// What a new machine holds: its folders, its registry, its environment and its version.
#pragma once

#include <span>
#include <string_view>

namespace winhost {

// Folders below the machine's root, with slashes.
extern const std::span<const char* const> kNewFolders;
// The registry in its text form.
extern const std::string_view kNewRegistry;
struct Variable {
    const char* name;
    const char* value;
};
// The environment of every program that the host starts, and not another program of the machine.
extern const std::span<const Variable> kNewVariables;
// The version of the system as the marker file holds it.
inline constexpr char kNewVersion[] = "10.0.19045\n";

}  // namespace winhost
