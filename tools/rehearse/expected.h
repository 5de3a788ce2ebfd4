// What a manifest should have installed.
#pragma once

#include <string>
#include <vector>

#include "lab/lab.h"

namespace rehearse {

// Compares an installation with its package, both on the machine; their folders end with a backslash. Returns a sentence
// for each file that a record installs on every machine, or in every portable installation, and that isn't there or has
// other bytes, sorted. Before them come those that such a record names, by no pattern, and that the package doesn't have. The time grows with the number of files.
std::vector<std::string> WronglyInstalled(const lab::State& machine, const std::string& package,
                                          const std::string& folder, bool isPortable);

}  // namespace rehearse
