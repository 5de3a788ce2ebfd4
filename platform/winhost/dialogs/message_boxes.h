// Message boxes.
#pragma once

#include "core/host_io.h"

namespace winhost {

// Whether a test answers the boxes instead of a person.
bool IsAnsweredByTest();

}  // namespace winhost
