// Where a disturbed run may leave the machine otherwise than promised, each case with its reason.
#pragma once

#include "sweep/trials.h"

namespace sweep {

// Fields between stage and reason are patterns with * and ?, with | between them.
struct Exception {
    Stage stage;
    const char* scenarios;
    const char* calls;  // the call disturbed; "kill:" in front for the end of the process at it
    const char* items;  // item and what it is, with ": " between them
    const char* reason;
};
const std::vector<Exception>& Exceptions();

// The exception that a problem falls under; null for none.
const Exception* FindException(const Scenario& scenario, const Disturbance& disturbance,
                               const Problem& problem);

}  // namespace sweep
