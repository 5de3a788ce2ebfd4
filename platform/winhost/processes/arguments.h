// Command lines, split and quoted by the rules of Windows' runtime library.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace winhost {

// Holds the command line of a program that another program of the machine started, as that one wrote it.
inline constexpr char kCommandLineVariable[] = "WINHOST_COMMAND_LINE";

// Whether a command line is split at this character.
bool IsBlank(char16_t unit);
// Splits a command line at blanks, by the rules for backslashes and quotes. The first text is the program's name.
std::vector<std::u16string> SplitArguments(std::u16string_view commandLine);
// Returns a command line without the program's name and the blanks after it.
std::u16string_view WithoutProgram(std::u16string_view commandLine);
// Returns the argument, quoted if needed, so that a started program receives it unchanged.
std::u16string QuoteArgument(std::u16string_view argument);

}  // namespace winhost
