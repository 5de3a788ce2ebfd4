// Work that several processors share.
#pragma once

#include <cstddef>
#include <functional>

namespace download {

// Calls `work` on up to four processors at once, but at most `jobs` times, and returns when all calls have ended. `work`
// takes one job after the other.
void OnProcessors(std::size_t jobs, const std::function<void()>& work);

}  // namespace download
