// How the programs of a rehearsal ended, in words.
#pragma once

#include <string>
#include <vector>

#include "lab/lab.h"

namespace rehearse {

std::string EndOf(const lab::Outcome& outcome);

// Returns a line for each message: what was shown, and what answered it.
std::vector<std::string> LinesOf(const std::vector<lab::Message>& messages);

// Returns a sentence for each thing that a run without a fault doesn't do: to end otherwise than with 0, and to show
// something to a person. Without a program it can't end.
std::vector<std::string> FaultsOf(const lab::Outcome& outcome, bool hasProgram);

}  // namespace rehearse
