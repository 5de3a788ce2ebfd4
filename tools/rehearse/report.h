// The report of a rehearsal, for people and for programs.
#pragma once

#include <string>

#include "rehearse/rehearsal.h"

namespace rehearse {

// What a step did, as a tree. `coloured`: for a terminal.
std::string ToText(const Step& step, bool coloured);
// What is left at the end, and the result.
std::string LeftToText(const Rehearsal& rehearsal, bool coloured);

// The whole rehearsal. `package` and `machine` are names for the report.
std::string ToJson(const Rehearsal& rehearsal, const std::string& package, const std::string& machine);
// The same as one page for a browser, which holds all that it needs.
std::string ToHtml(const Rehearsal& rehearsal, const std::string& package, const std::string& machine);

}  // namespace rehearse
