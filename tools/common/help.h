// What a tool says about itself, and why it can't do its work.
#pragma once

#include <exception>
#include <filesystem>
#include <string_view>
#include <vector>

namespace tools {

// The help of a tool begins with how to use it, in lines of which the first is "usage: NAME ...". After an empty line it says
// what the tool does.

// If the only argument after the program's name is --help or --version, prints the help, or the name of the tool and its version,
// and returns true.
bool TellsOfItself(const std::vector<std::filesystem::path>& arguments, std::string_view help);

// Prints how to use the tool to the standard error output.
void PrintUsage(std::string_view help);

// Prints the failure as a line of the tool to the standard error output, in which no name does harm to a terminal.
void PrintFailure(const char* tool, const std::exception& failure);

}  // namespace tools
