// Where a disturbed run may leave the machine otherwise than promised, each case with its reason. The tables of
// docs/reliability.md are these cases.
#pragma once

#include "sweep/trials.h"

namespace sweep {

// Fields after the stage are patterns with * and ?, with | between them.
struct Exception {
    Stage stage;
    const char* scenarios;
    const char* calls;  // the call disturbed; in front "kill:" for the end of the process at it, "power:"
                        // for the end of all in its midst, "full:" for the first call without room
    const char* items;  // item and what it is, with ": " between them
};

// One row of a table of the document, with what the sweep excuses for it. The stage of the first exception
// names the table. A case without `left` is in none: the document tells of it in words.
struct Case {
    const char* left;
    const char* when;
    const char* why;
    std::vector<Exception> exceptions;
};
const std::vector<Case>& Cases();

// The table of a stage, as it stands in the document.
std::string CaseTable(Stage stage);

// Whether one of the exception's calls has this prefix; "" stands for a failing call or the end of the process.
bool IsOf(const Exception& exception, const std::string& prefix);

// The exception that a problem falls under, by the scenario's name and the call with its prefix; null for none.
const Exception* FindException(const std::string& scenario, const std::string& call, const Problem& problem);
const Exception* FindException(const Scenario& scenario, const Disturbance& disturbance,
                               const Problem& problem);

}  // namespace sweep
