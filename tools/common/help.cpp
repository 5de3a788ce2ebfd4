#include "common/help.h"

#include <cstdio>

#include "common/text.h"

namespace tools {

namespace {

void Print(std::string_view text, std::FILE* file) {
    (void)std::fwrite(text.data(), 1, text.size(), file);
}

}  // namespace

bool TellsOfItself(const std::vector<std::filesystem::path>& arguments, std::string_view help) {
    if (arguments.size() != 2) return false;
    if (arguments[1] == "--help") {
        Print(help, stdout);
        return true;
    }
    if (arguments[1] != "--version") return false;
    const std::size_t name = help.find(' ') + 1;
    Print(help.substr(name, help.find(' ', name) - name), stdout);
    Print(" " QTV_VERSION "\n", stdout);
    return true;
}

void PrintUsage(std::string_view help) {
    Print(help.substr(0, help.find("\n\n") + 1), stderr);
}

void PrintFailure(const char* tool, const std::exception& failure) {
    std::fprintf(stderr, "%s: %s\n", tool, Shown(failure.what()).c_str());
}

}  // namespace tools
