#include "lab/unchanged.h"

bool lab::IsUnchanged(HKEY, const std::string&) {
    return false;
}
