#pragma once

#include <atomic>
#include <memory>

namespace platform {

/// Thrown by wait and get of a task that ended cancelled; thrown inside a task by cancel_current_task.
class task_canceled {};

/// Tells work whether it is still wanted. Copies share the state. Any thread.
class cancellation_token {
  public:
    /// A token that is never cancelled.
    static cancellation_token none() { return cancellation_token(nullptr); }

    bool is_canceled() const { return m_canceled && m_canceled->load(); }

  private:
    friend class cancellation_token_source;
    explicit cancellation_token(std::shared_ptr<std::atomic<bool>> canceled)
        : m_canceled(std::move(canceled)) {}

    std::shared_ptr<std::atomic<bool>> m_canceled;
};

/// Hands out tokens and cancels them all at once. Any thread.
class cancellation_token_source {
  public:
    cancellation_token get_token() const { return cancellation_token(m_canceled); }
    void cancel() const { m_canceled->store(true); }

  private:
    std::shared_ptr<std::atomic<bool>> m_canceled = std::make_shared<std::atomic<bool>>(false);
};

[[noreturn]] inline void cancel_current_task() {
    throw task_canceled();
}

}  // namespace platform
