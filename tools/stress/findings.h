// What the parts found: counted by what was tried, and measured against the table of exceptions.
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

// One thing tried, as a task writes it down: a line for it, and one for each problem.
struct Tried {
    std::string group;     // as the report counts it
    std::string scenario;  // what the table of exceptions knows it by
    std::string call;
    std::string what;  // for the reader
};
void Write(std::ostream& lines, const Tried& tried, const std::vector<sweep::Problem>& problems);

// Prints what has no place in the table, and a line for each group. False when there is something, or, after
// a whole run, when an exception whose call has this prefix was never needed.
bool Report(const std::vector<sweep::TaskLine>& lines, const std::string& prefix, bool whole,
            std::FILE* report);

}  // namespace stress
