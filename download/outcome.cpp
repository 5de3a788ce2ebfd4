#include "outcome.h"

#include <windows.h>

Outcome OutcomeOf(unsigned long error) {
    switch (error) {
        case ERROR_ACCESS_DENIED:
        case ERROR_PRIVILEGE_NOT_HELD:
        case ERROR_INVALID_OWNER:
            return Outcome::NoRights;
        case ERROR_DISK_FULL:
        case ERROR_HANDLE_DISK_FULL:
            return Outcome::NoSpace;
        default:
            return Outcome::Failed;
    }
}
