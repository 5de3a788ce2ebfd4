// Locks that all processes of the machine share.
#pragma once

#include "core/host_io.h"

namespace winhost {

// A lock by name, held for the lifetime of the object. The constructor waits until the lock is free.
class MachineLock {
  public:
    explicit MachineLock(const char* name);

  private:
    Descriptor m_file;
};

}  // namespace winhost
