// Command lines, split and quoted by the rules of Windows' runtime library.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace winhost {

// Holds the command line of a program that one of the machine's started, as its starter wrote it.
inline constexpr char kCommandLineVariable[] = "WINHOST_COMMAND_LINE";

// Splits a command line: backslashes and quotes; the program's own name first.
std::vector<std::u16string> SplitArguments(std::u16string_view commandLine);
// A command line without the program's name and the blanks after it.
std::u16string_view WithoutProgram(std::u16string_view commandLine);
// The argument in quotes where it needs them, so that the program gets it unchanged.
std::u16string QuoteArgument(std::u16string_view argument);

}  // namespace winhost
