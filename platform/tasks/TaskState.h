#pragma once

#include <condition_variable>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

namespace platform::detail {

/// Throws `failure` again: a platform exception as a copy of the caller's own, since several threads may wait
/// for one task.
[[noreturn]] void Rethrow(const std::exception_ptr& failure);

/// The failure for another task: a platform exception as a copy, since tasks end on threads of their own.
std::exception_ptr CopyOf(const std::exception_ptr& failure);

/// What stands in for the value of a task<void>.
struct Nothing {};

template <typename T>
using Stored = std::conditional_t<std::is_void_v<T>, Nothing, T>;

/// The part of a task's shared state that does not depend on its type. Any thread.
class TaskStateBase {
  public:
    virtual ~TaskStateBase();

    bool IsDone() const;

    /// Calls `continuation`, which must not block, when the task has ended, at once if it has: after those
    /// that were handed over earlier have begun and ended.
    void WhenDone(std::function<void()> continuation);

    /// Blocks until the task has ended; refuses to block the user-interface thread, and the
    /// last unblocked worker when work waits and no other can be started.
    void Wait() const;

    /// The exception that ended the task, or null; from now on it counts as seen.
    std::exception_ptr Failure();

    void Fail(std::exception_ptr failure);

  protected:
    /// Ends the task: `store` runs under the lock. A task ends once; later calls are ignored. The caller
    /// keeps the state until it returns.
    void Finish(const std::function<void()>& store);

    mutable std::mutex m_mutex;

  private:
    mutable std::condition_variable m_ended;
    std::vector<std::function<void()>> m_continuations;
    std::exception_ptr m_failure;
    bool m_done = false;
    /// All continuations so far have been called, so a new one is called at once.
    bool m_continued = false;
    bool m_failureSeen = false;
};

template <typename T>
class TaskState : public TaskStateBase {
  public:
    void Complete(Stored<T> value) {
        Finish([&] { m_value.emplace(std::move(value)); });
    }

    /// Only after the task has ended without a failure.
    const Stored<T>& Value() const { return *m_value; }

  private:
    std::optional<Stored<T>> m_value;
};

}  // namespace platform::detail
