#include "stress/findings.h"

#include <sstream>

namespace stress {

namespace {

using namespace sweep;

constexpr char kNoProblem[] = "-";

Tried Read(std::istream& line) {
    Tried tried;
    for (std::string* field : {&tried.group, &tried.scenario, &tried.call, &tried.what})
        std::getline(line, *field, '\t');
    return tried;
}

}  // namespace

void Write(std::ostream& lines, const Tried& tried, const std::vector<Problem>& problems) {
    const std::string start =
        tried.group + '\t' + tried.scenario + '\t' + tried.call + '\t' + tried.what + '\t';
    lines << start << kNoProblem << '\n';
    for (const Problem& problem : problems)
        lines << start << ToLine(problem) << '\n';
}

bool Report(const std::vector<TaskLine>& lines, const std::string& prefix, bool whole, std::FILE* report) {
    struct Group {
        std::size_t tried = 0;
        std::set<std::string> explained, unexplained;
    };
    std::map<std::string, Group> groups;
    std::set<const Exception*> used;
    bool good = true;
    for (const TaskLine& taskLine : lines) {
        std::istringstream line(taskLine.line);
        const Tried tried = Read(line);
        Group& group = groups[tried.group];
        std::string rest;
        std::getline(line, rest);
        if (rest == kNoProblem) {
            ++group.tried;
            continue;
        }
        const Problem problem = FromLine(rest);
        const std::string trial = tried.call + tried.what + std::to_string(taskLine.number);
        if (const Exception* exception = FindException(tried.scenario, tried.call, problem)) {
            used.insert(exception);
            group.explained.insert(trial);
            continue;
        }
        group.unexplained.insert(trial);
        good = false;
        std::fprintf(report, "%s, %s, %s: %s\n", tried.group.c_str(), tried.what.c_str(), tried.call.c_str(),
                     ToText(problem).c_str());
    }
    for (const auto& [name, group] : groups)
        std::fprintf(report, "%s%-32s %5zu tried, %4zu in the table of exceptions, %zu unexplained\n",
                     prefix.c_str(), name.c_str(), group.tried, group.explained.size(),
                     group.unexplained.size());
    if (!whole) return good;
    for (const Case& each : Cases())
        for (const Exception& exception : each.exceptions)
            if (IsOf(exception, prefix) && !used.contains(&exception)) {
                std::fprintf(report, "never needed: %s, %s, %s\n", exception.scenarios, exception.calls,
                             exception.items);
                good = false;
            }
    return good;
}

}  // namespace stress
