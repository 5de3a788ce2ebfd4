// What the machine saw besides files and registry. Each event is a line in .state/events.
#include "core/events.h"

#include <fcntl.h>
#include <unistd.h>

#include <fstream>

#include "core/host_io.h"
#include "core/machine.h"
#include <winhost.h>

namespace winhost {

namespace {

std::filesystem::path EventFile() {
    return StateFolder() / "events";
}

}  // namespace

void Record(const char* kind, std::initializer_list<std::u16string> fields) {
    std::string line = kind;
    for (const auto& field : fields) {
        line += '\t';
        for (const char byte : Utf8(field)) {
            if (byte == '\n')
                line += "\\n";
            else
                line += byte;
        }
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
    for (std::size_t i = 0; i < event.size(); ++i) {
        if (event[i] == '\t') {
            fields.emplace_back();
        } else {
            const bool lineFeed = event.substr(i, 2) == "\\n";
            fields.back() += lineFeed ? '\n' : event[i];
            i += lineFeed;
        }
    }
    return fields;
}

void ClearEvents() {
    std::filesystem::remove(EventFile());
}

}  // namespace winhost
