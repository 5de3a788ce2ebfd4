// Limits of the machine: the space on its drives, and the steps until its power is cut. Everything that changes files,
// folders or the registry asks here first.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>

namespace winhost {

// Whether the machine has limits.
bool HasLimits();
// Whether a file may grow from `formerSize` to `size` bytes. Returns false with errno set to ENOSPC when the space is
// too small; nothing is written then.
bool HasSpace(std::uint64_t formerSize, std::uint64_t size);
// Counts one step of a lasting change. A change that is made in parts takes a step for each part. When the power is
// cut, the process ends here.
void Step();
// Writes all bytes, or returns false with errno set. Within limits nothing is written without space for all bytes, and the
// power can be cut between parts.
bool WriteWhole(int descriptor, const void* data, std::size_t cbData);

}  // namespace winhost
