// Files of the host: descriptors, writing, and the Windows error codes for the host's errors.
#pragma once

#include <windows.h>

#include <cstddef>

namespace winhost {

// Owns a host file descriptor; -1 means none.
class Descriptor {
  public:
    Descriptor() = default;
    explicit Descriptor(int value) : m_value(value) {}
    Descriptor(Descriptor&& other) noexcept : m_value(other.Release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept;
    ~Descriptor();
    explicit operator bool() const { return m_value >= 0; }
    int get() const { return m_value; }
    // Returns the descriptor, which the caller then owns.
    int Release();

  private:
    int m_value = -1;
};

// Writes all bytes, or returns false with errno set. Files on the machine's drives are written by WriteWhole, which keeps
// to the limits of the machine.
bool WriteAtOnce(int descriptor, const void* data, std::size_t cbData);
// Returns the Windows error code for the host's errno.
DWORD ErrorOf(int hostError);

}  // namespace winhost
