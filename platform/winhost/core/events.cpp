// What the machine saw besides files and registry. Each event is a line in .state/events.
#include "core/events.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>

#include "core/host_io.h"
#include "core/machine.h"
#include <winhost.h>

namespace winhost {

namespace {

// A line feed inside a field. Neither paths nor texts have this character.
constexpr char kLineFeed = '\x1E';

std::filesystem::path EventFile() {
    return StateFolder() / "events";
}

}  // namespace

void Record(const char* kind, std::initializer_list<std::u16string> fields) {
    std::string line = kind;
    for (const auto& field : fields) {
        std::string text = Utf8(field);
        std::replace(text.begin(), text.end(), '\n', kLineFeed);
        line += '\t' + text;
    }
    line += '\n';
    // One write in append mode, so that the lines of several processes don't mix.
    const Descriptor file(open(EventFile().c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666));
    if (!file || write(file.get(), line.data(), line.size()) != static_cast<ssize_t>(line.size()))
        NotModelled("Record", "a machine whose events can't be written");
}

std::vector<std::string> Events() {
    std::vector<std::string> lines;
    std::ifstream file(EventFile());
    for (std::string line; std::getline(file, line);)
        lines.push_back(line);
    return lines;
}

std::vector<std::string> EventFields(std::string_view event) {
    std::vector<std::string> fields(1);
    for (const char byte : event) {
        if (byte == '\t')
            fields.emplace_back();
        else
            fields.back() += byte == kLineFeed ? '\n' : byte;
    }
    return fields;
}

void ClearEvents() {
    std::filesystem::remove(EventFile());
}

}  // namespace winhost
