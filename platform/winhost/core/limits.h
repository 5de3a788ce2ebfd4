// Limits of the machine: the room on its discs, and the steps until its power goes. Whatever changes what
// lasts (files, folders, the registry) asks here first; a machine without limits pays one look for it.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>

#include "core/host_io.h"

namespace winhost {

bool HasLimits();
// Whether a file may grow from one size to another. False with errno set to ENOSPC, and nothing written then.
bool HasRoom(std::uint64_t formerSize, std::uint64_t size);
// One step of a change that lasts: the next part of it, if it is not done at once. When the power has gone,
// the process ends here.
void Step();
// As WriteWhole, within the limits: without room for all, nothing is written; the power can go between parts.
bool WriteWithinLimits(int descriptor, const void* data, std::size_t cbData);

}  // namespace winhost
