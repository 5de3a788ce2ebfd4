// What the programs of a rehearsal did, in the words of a maker of packages.
#pragma once

#include <filesystem>
#include <string>

namespace rehearse {

// Reads a trace of platform calls and returns a line for each one that changed the machine or started something, and for
// each one that failed to, in order: the program, and what it did. Empty if there is no such file.
std::string ToldByCalls(const std::filesystem::path& trace);

}  // namespace rehearse
