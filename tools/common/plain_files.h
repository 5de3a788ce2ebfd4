// What has an end: pipes and devices have none, and neither has a folder with links to itself.
#pragma once

#include <filesystem>

namespace tools {

// Throws std::runtime_error, whose text names the path, if it leads to something but a plain file. A missing file is
// left to whoever opens it.
void RequirePlainFile(const std::filesystem::path& path);

// The same for everything in a folder. Links to plain files are taken, links to folders are not.
void RequirePlainFiles(const std::filesystem::path& folder);

}  // namespace tools
