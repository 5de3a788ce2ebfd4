// What the parts found, counted by group and compared with the table of exceptions.
#pragma once

#include <cstdio>
#include <map>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "sweep/exceptions.h"
#include "sweep/workers.h"

namespace stress {

// One trial, as a task writes it: a line for it, and one for each problem.
struct Tried {
    std::string group;     // its group in the report
    std::string scenario;  // the name of the scenario in the table of exceptions
    std::string call;
    std::string what;  // a description for the reader
};
// Writes one trial with its problems as lines, for Report.
void Write(std::ostream& lines, const Tried& tried, const std::vector<sweep::Problem>& problems);

// Prints the problems that are not in the table, and a line for each group. Returns false if there is such a problem,
// or if, after a whole run, an exception whose call has this prefix was never needed.
bool Report(const std::vector<sweep::TaskLine>& lines, const std::string& prefix, bool whole,
            std::FILE* report);

}  // namespace stress
