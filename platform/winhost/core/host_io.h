// Files of the host: descriptors, writing, and what its errors are called on Windows.
#pragma once

#include <windows.h>

#include <cstddef>

namespace winhost {

// A host file descriptor and its owner; -1 for none.
class Descriptor {
  public:
    Descriptor() = default;
    explicit Descriptor(int value) : m_value(value) {}
    Descriptor(Descriptor&& other) noexcept : m_value(other.Release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept;
    ~Descriptor();
    explicit operator bool() const { return m_value >= 0; }
    int get() const { return m_value; }
    int Release();

  private:
    int m_value = -1;
};

// Writes all bytes, or fails with errno set. WriteWhole keeps to the limits of the machine; the other one is
// for what is no part of its drives.
bool WriteAtOnce(int descriptor, const void* data, std::size_t cbData);
bool WriteWhole(int descriptor, const void* data, std::size_t cbData);
// The error code for the host's errno.
DWORD ErrorOf(int hostError);

}  // namespace winhost
