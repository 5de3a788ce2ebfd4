// stress SETUP [--quick] PART...
//
// Tries setup under stress on embedded machines. PART is full, power, two, list or large. SETUP is the setup program under
// test; it may come from another build than this tool. Exits with 0 if everything is as promised.
#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <exception>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "stress/parts.h"

namespace {

using Part = bool (*)(const stress::Options&, std::FILE*);
const std::map<std::string, Part> kParts = {{"full", stress::FullDisc},
                                            {"power", stress::CutPower},
                                            {"two", stress::TwoAtOnce},
                                            {"list", stress::SharedList},
                                            {"large", stress::Large}};

struct Command {
    stress::Options options;
    std::vector<std::string> parts;
};

std::optional<Command> ReadCommand(const std::vector<std::string>& arguments) {
    Command command;
    for (const std::string& argument : arguments) {
        if (argument == "--quick")
            command.options.quick = true;
        else if (command.options.setup.empty())
            command.options.setup = std::filesystem::absolute(argument);
        else if (kParts.contains(argument))
            command.parts.push_back(argument);
        else
            return std::nullopt;
    }
    if (command.parts.empty()) return std::nullopt;
    return command;
}

// The programs that a part runs use standard output and error, so the report is written elsewhere.
bool Do(const std::string& part, const stress::Options& options, std::FILE* report) {
    const auto start = std::chrono::steady_clock::now();
    const bool good = kParts.at(part)(options, report);
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    std::fprintf(report, "%s: %s, %.0f s\n", part.c_str(), good ? "as promised" : "NOT AS PROMISED",
                 taken.count());
    return good;
}

}  // namespace

int main(int count, char** values) {
    const auto command = ReadCommand({values + 1, values + count});
    if (!command) {
        std::fprintf(stderr, "usage: stress SETUP [--quick] PART...\n");
        return 2;
    }
    std::FILE* const report = fdopen(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3), "w");
    (void)std::setvbuf(report, nullptr, _IOLBF, 0);
    bool good = true;
    try {
        for (const std::string& part : command->parts)
            good = Do(part, command->options, report) && good;
    } catch (const std::exception& failure) {
        std::fprintf(report, "stress: %s\n", failure.what());
        good = false;
    }
    return std::fflush(report) == 0 && good ? 0 : 1;
}
