#pragma once

#include <mutex>
#include <utility>

namespace platform {

/// Data that can only be reached while its lock is held.
template <typename T>
class Guarded {
  public:
    template <typename... Args>
    explicit Guarded(Args&&... args) : m_value(std::forward<Args>(args)...) {}

    /// Any thread. Calls `use` with the data while the lock is held and returns what it returns; references
    /// to the data must not leave `use`.
    template <typename Use>
    auto With(Use&& use) {
        const std::lock_guard lock(m_mutex);
        return std::forward<Use>(use)(m_value);
    }

    template <typename Use>
    auto With(Use&& use) const {
        const std::lock_guard lock(m_mutex);
        return std::forward<Use>(use)(m_value);
    }

  private:
    mutable std::mutex m_mutex;
    T m_value;
};

}  // namespace platform
