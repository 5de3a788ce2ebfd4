// The folder that a build leaves: what the installation folder will contain.
#pragma once

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "package_check/package_paths.h"

namespace package_make {

using package_check::Wide;

inline constexpr WCHAR kAgreement[] = TEXT("agreement.txt");

// The input can't be made into a package. The text says why, with a line for each reason.
struct BadInput : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct Entry {
    CString name;  // relative to the folder, with backslashes
    std::filesystem::path path;
    bool isFolder = false;
};

// Returns the text of a path. None if a letter doesn't fit into one byte.
std::optional<CString> OneByteText(const std::filesystem::path& path);

// Returns one text for all spellings of a name that differ only in case. The manifest can hold such names: no letter is
// above 0xFF.
Wide Folded(const CString& name);

// Returns everything below the folder: first the top, then folder by folder. Throws BadInput, with all reasons, if the
// manifest can't name something or the package can't contain it.
std::vector<Entry> ReadSourceFolder(const std::filesystem::path& folder);

// Returns a path for a message. Its control characters have no effect on a terminal.
std::string Shown(const std::filesystem::path& path);

// Whether the path itself is a link of any kind. Each target has its own version.
bool IsLink(const std::filesystem::path& path);

}  // namespace package_make
