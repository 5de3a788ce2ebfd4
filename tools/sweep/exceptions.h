// Where a disturbed run may leave the machine in another state than promised, with the reason for each case. The tables
// in docs/reliability.md are these cases.
#pragma once

#include "sweep/trials.h"

namespace sweep {

// The fields after the stage are patterns with * and ?, separated by |.
struct Exception {
    Stage stage;
    const char* scenarios;
    // The disturbed call. Before it, "kill:" means that the process ended at the call, "power:" that the power went
    // during it, and "full:" that it was the first call without room.
    const char* calls;
    const char* items;  // item and its state, with ": " between them
};

// One row of a table in the document, with the exceptions that the sweep accepts for it. The stage of the first
// exception says which table. A case without `left` is in no table; the document describes it in its text.
struct Case {
    const char* left;
    const char* when;
    const char* why;
    std::vector<Exception> exceptions;
};
const std::vector<Case>& Cases();

// Returns the table of a stage as it is in the document.
std::string CaseTable(Stage stage);

// Whether one of the exception's calls has this prefix. "" means a failing call or the end of the process.
bool IsOf(const Exception& exception, const std::string& prefix);

// Returns the exception for a problem, by the name of the scenario and the call with its prefix. Null if there is none.
const Exception* FindException(const std::string& scenario, const std::string& call, const Problem& problem);
const Exception* FindException(const Scenario& scenario, const Disturbance& disturbance,
                               const Problem& problem);

}  // namespace sweep
