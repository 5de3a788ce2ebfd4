// A file descriptor of the host with an owner. Host only.
#pragma once

#include <unistd.h>

#include <utility>

namespace tools {

// A negative one is none.
class Descriptor {
  public:
    explicit Descriptor(int value = -1) : m_value(value) {}
    Descriptor(Descriptor&& other) noexcept : m_value(std::exchange(other.m_value, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(m_value, other.m_value);
        return *this;
    }
    ~Descriptor() {
        if (m_value >= 0) (void)close(m_value);
    }
    explicit operator bool() const { return m_value >= 0; }
    int get() const { return m_value; }

  private:
    int m_value;
};

}  // namespace tools
