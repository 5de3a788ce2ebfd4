// What the programs of a kit said, and the reports made of it. All texts are UTF-8.
#pragma once

#include <algorithm>
#include <array>
#include <map>
#include <string>
#include <vector>

namespace kit {

enum class End { Right, Failed, NotRun };

// A test, or a program that didn't run to the end of its tests.
struct Row {
    std::string program;
    std::string name;
    End end = End::Failed;
    std::string milliseconds = "0";
    std::string said;  // all that it wrote
};

struct Results {
    std::vector<Row> rows;
    // By the name of a fact, the answers of this system, of Wine and of the embedded machine.
    std::map<std::string, std::array<std::string, 3>> facts;
    int Count(End end) const { return static_cast<int>(std::ranges::count(rows, end, &Row::end)); }
    std::string Counts() const;  // "5 right, 0 failed, 1 not run"
    // 1 if a row failed, otherwise 0.
    int ExitCode() const { return Count(End::Failed) > 0; }
};

// Reads what a program wrote. A test that began and didn't end has failed, and so has a program without any test, or one that ended
// with `exitCode` other than 0 without a failed test. What is told again replaces what was told before.
void AddOutput(Results& results, const std::string& program, unsigned long exitCode,
               const std::string& output);

// The reports. `about` has a line for each thing to know about the machine and the run.
std::string ToJUnit(const Results& results, const std::string& about);
std::string ToText(const Results& results, const std::string& about);
// The facts in which the systems differ, as a table in Markdown.
std::string ToFacts(const Results& results, const std::string& about);

}  // namespace kit
