// Limits of the machine: the room on its drives, and the steps until its power goes. Everything that changes files,
// folders or the registry asks here first.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>

#include "core/host_io.h"

namespace winhost {

// Whether the machine has limits.
bool HasLimits();
// Whether a file may grow from `formerSize` to `size` bytes. Returns false with errno set to ENOSPC when the room is
// too small; nothing is written then.
bool HasRoom(std::uint64_t formerSize, std::uint64_t size);
// Counts one step of a lasting change. A change that is made in parts takes a step for each part. When the power has
// gone, the process ends here.
void Step();
// Writes as WriteWhole does, within the limits. Without room for
// all bytes nothing is written. The power can go between parts.
bool WriteWithinLimits(int descriptor, const void* data, std::size_t cbData);

}  // namespace winhost
