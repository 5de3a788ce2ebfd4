// Locks that all processes of the machine share.
#pragma once

namespace winhost {

// A lock by name, held for the lifetime of the object. The constructor waits until the lock is free.
class MachineLock {
  public:
    explicit MachineLock(const char* name);
    ~MachineLock();
    MachineLock(const MachineLock&) = delete;
    MachineLock& operator=(const MachineLock&) = delete;

  private:
    int m_descriptor;
};

}  // namespace winhost
