#include "kit/report.h"

#include <set>
#include <sstream>

#include "common/text.h"

namespace kit {

namespace {

constexpr char kBegins[] = "[ RUN      ] ";
const std::pair<const char*, End> kEnds[] = {
    {"[       OK ] ", End::Right}, {"[  FAILED  ] ", End::Failed}, {"[  SKIPPED ] ", End::NotRun}};

void Add(Results& results, Row row) {
    const auto same = std::ranges::find_if(results.rows, [&](const Row& other) {
        return other.program == row.program && other.name == row.name;
    });
    if (same != results.rows.end())
        *same = std::move(row);
    else
        results.rows.push_back(std::move(row));
}

bool AddFact(Results& results, const std::string& line) {
    if (!line.starts_with("fact\t")) return false;
    std::istringstream fields(line.substr(5));
    std::string name;
    std::getline(fields, name, '\t');
    for (std::string& answer : results.facts[name] = {})
        std::getline(fields, answer, '\t');
    return true;
}

// Whether the line ends the test of the row. Something without a line end may come before.
bool Ends(const std::string& line, Row& row) {
    for (const auto& [mark, end] : kEnds) {
        const std::string start = mark + row.name;
        const auto at = line.find(start), time = line.rfind(" (");
        if (at == line.npos || !line.ends_with(" ms)") || time < at) continue;
        row.said += line.substr(0, at);
        row.end = end;
        row.milliseconds = line.substr(time + 2, line.size() - time - 6);
        return true;
    }
    return false;
}

std::string Xml(const std::string& text) {
    std::string out;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        out += (out.empty() ? "" : "\n") + tools::Shown(line);
    for (const auto& [from, to] : {std::pair("&", "&amp;"), {"<", "&lt;"}, {"\"", "&quot;"}, {"\n", "&#10;"}})
        out = tools::Replaced(std::move(out), from, to);
    return out;
}

// The last line that says something: why it wasn't run.
std::string Reason(const Row& row) {
    const auto end = row.said.find_last_not_of('\n');
    const auto begin = row.said.rfind('\n', end);
    return row.said.substr(begin + 1, end - begin);
}

}  // namespace

std::string Results::Counts() const {
    return std::to_string(Count(End::Right)) + " right, " + std::to_string(Count(End::Failed)) + " failed, " +
           std::to_string(Count(End::NotRun)) + " not run";
}

void AddOutput(Results& results, const std::string& program, unsigned long exitCode,
               const std::string& output) {
    const int failed = results.Count(End::Failed);
    std::istringstream lines(output);
    Row row;
    std::string outside;
    bool isInTest = false, hasTests = false;
    for (std::string line; std::getline(lines, line);) {
        if (line.ends_with('\r')) line.pop_back();
        if (AddFact(results, line)) continue;
        if (line.starts_with(kBegins)) {
            row = {program, line.substr(sizeof kBegins - 1), End::Failed, "0", {}};
            isInTest = hasTests = true;
        } else if (isInTest && Ends(line, row)) {
            Add(results, row);
            isInTest = false;
        } else {
            (isInTest ? row.said : outside) += line + "\n";
        }
    }
    const std::string ended =
        "the program ended with " + std::to_string(exitCode) + " (0x" + tools::Hex(exitCode, 8) + ")\n";
    if (isInTest)
        Add(results, {program, row.name, End::Failed, "0", row.said + ended});
    else if (!hasTests || (exitCode != 0 && results.Count(End::Failed) == failed))
        Add(results, {program, "the whole program", End::Failed, "0", outside + ended});
}

std::string ToJUnit(const Results& results, const std::string& about) {
    std::map<std::string, Results> programs;
    for (const Row& row : results.rows)
        programs[row.program].rows.push_back(row);
    std::ostringstream xml;
    xml << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites>\n";
    for (const auto& [program, own] : programs) {
        xml << "<testsuite name=\"" << program << "\" tests=\"" << own.rows.size() << "\" failures=\""
            << own.Count(End::Failed) << "\" errors=\"0\" skipped=\"" << own.Count(End::NotRun)
            << "\">\n<properties><property name=\"system\" value=\"" << Xml(about) << "\"/></properties>\n";
        for (const Row& row : own.rows) {
            xml << "<testcase classname=\"" << program << "\" name=\"" << Xml(row.name) << "\" time=\""
                << std::stod(row.milliseconds) / 1000 << "\"";
            if (row.end == End::Right)
                xml << "/>\n";
            else if (row.end == End::NotRun)
                xml << "><skipped message=\"" << Xml(Reason(row)) << "\"/></testcase>\n";
            else
                xml << "><failure message=\"" << Xml(row.said.substr(0, row.said.find("the machine:\n")))
                    << "\">" << Xml(row.said) << "</failure></testcase>\n";
        }
        xml << "</testsuite>\n";
    }
    xml << "</testsuites>\n";
    return xml.str();
}

std::string ToText(const Results& results, const std::string& about) {
    std::string failed, notRun;
    for (const Row& row : results.rows)
        if (row.end == End::Failed)
            failed += "\nFAILED " + row.program + " " + row.name + "\n" + row.said;
        else if (row.end == End::NotRun)
            notRun += "    " + row.program + " " + row.name + ": " + Reason(row) + "\n";
    return about + results.Counts() + "\n" + failed + (notRun.empty() ? "" : "\nnot run:\n" + notRun);
}

std::string ToFacts(const Results& results, const std::string& about) {
    std::string text, rows;
    std::istringstream lines(about);
    for (std::string line; std::getline(lines, line);)
        text += "- " + line + "\n";
    int same = 0;
    for (const auto& [name, answers] : results.facts) {
        if (std::set(answers.begin(), answers.end()).size() == 1) {
            ++same;
            continue;
        }
        rows += "| " + name;
        for (const std::string& answer : answers)
            rows += " | `" + tools::Replaced(answer.empty() ? " " : answer, "|", "\\|") + "`";
        rows += " |\n";
    }
    return text + "- " + std::to_string(same) + " facts are the same on all three\n\n" +
           "| fact | this system | Wine 8.0 | embedded machine |\n|---|---|---|---|\n" + rows;
}

}  // namespace kit
