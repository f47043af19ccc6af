#pragma once

#include <unistd.h>

#include <utility>

namespace host {

/// Owns a file descriptor; -1 is none.
class Descriptor {
  public:
    explicit Descriptor(int descriptor = -1) noexcept : m_descriptor(descriptor) {}
    Descriptor(Descriptor&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }
    ~Descriptor() {
        if (m_descriptor >= 0) {
            close(m_descriptor);
        }
    }

    int Get() const noexcept { return m_descriptor; }
    explicit operator bool() const noexcept { return m_descriptor >= 0; }
    int Release() noexcept { return std::exchange(m_descriptor, -1); }

  private:
    int m_descriptor;
};

}  // namespace host
