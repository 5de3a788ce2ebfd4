// Message boxes.
#pragma once

#include "core/host_io.h"

namespace winhost {

// Whether a test answers for the person.
bool IsAnsweredByTest();

}  // namespace winhost
