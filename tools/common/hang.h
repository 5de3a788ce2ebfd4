// The only limit of time that tests and tools have.
#pragma once

namespace tools {

// What isn't there after so many milliseconds never comes. It is so long that no load of the machine reaches it, so it
// ends a hang and never tells a right answer from a wrong one.
inline constexpr unsigned long kHangMs = 300'000;

}  // namespace tools
