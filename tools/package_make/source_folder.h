// The folder that a build leaves: what the installation folder shall hold.
#pragma once

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "package_check/text.h"

namespace package_make {

using package_check::Wide;

// What the tool was given can't be made into a package. The text says why, a line for each thing.
struct BadInput : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct Entry {
    CString name;  // relative to the folder, with backslashes
    std::filesystem::path path;
    bool isFolder = false;
};

// The text of a path; none when one byte can't hold each of its letters.
std::optional<CString> OneByteText(const std::filesystem::path& path);

// One text for all spellings of a name that differ in the case of their letters only. The names are those
// that the manifest can hold: no letter above 0xFF.
Wide Folded(const CString& name);

// Everything below the folder: what lies at the top first, then folder by folder. Throws BadInput, with all
// that is wrong, when there is something that the manifest can't name or the package can't hold.
std::vector<Entry> ReadSourceFolder(const std::filesystem::path& folder);

// A path for a message: control characters don't act at a terminal.
std::string Shown(const std::filesystem::path& path);

// Whether the path itself is a link of any kind. Each target has its own.
bool IsLink(const std::filesystem::path& path);

}  // namespace package_make
