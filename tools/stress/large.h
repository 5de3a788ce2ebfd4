// Large packages and long paths, the two halves of a part.
#pragma once

#include <cstdio>
#include <filesystem>
#include <set>
#include <string>

#include "stress/parts.h"

namespace stress {

inline constexpr char16_t kTarget[] = u"C:\\Program Files\\Qantivo 8";
inline constexpr char16_t kPackage[] = u"C:\\Package";

// Makes a machine where the sample package is installed, and enters it.
void PrepareInstalled(const std::filesystem::path& root, const std::filesystem::path& setup);

// Adds records to the manifest of the package, or lines to the log of the installation.
void AddToManifest(const std::string& lines);
void AddToLog(const std::string& lines);

// Makes a file, and the folders that lead to it. The path is one of the host, so no limit of Windows applies.
void MakeFile(const std::filesystem::path& path);

// The files and folders below a folder of the host, relative to it.
std::set<std::string> NamesBelow(const std::filesystem::path& folder);

// Calls, processor time and memory of installations, updates and uninstalls of packages that grow.
bool Growth(const Options& options, std::FILE* report);
// Paths up to the longest possible one and beyond it, at each place of a record.
bool LongPaths(const Options& options, std::FILE* report);

}  // namespace stress
