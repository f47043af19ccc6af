#pragma once

#include <functional>
#include <memory>
#include <mutex>

namespace platform {

/// A handler's promise to finish its work before the suspension goes on. Any thread.
class SuspendingDeferral {
  public:
    explicit SuspendingDeferral(std::function<void()> complete);

    /// Completes an uncompleted deferral, so that a leaked one cannot block shutdown.
    ~SuspendingDeferral();
    SuspendingDeferral(const SuspendingDeferral&) = delete;
    SuspendingDeferral& operator=(const SuspendingDeferral&) = delete;

    /// The first call counts.
    void Complete();

  private:
    std::mutex m_mutex;
    std::function<void()> m_complete;
};

/// One suspension in progress. Any thread.
class SuspendingOperation {
  public:
    /// `allDone` is called once, on the thread that completes last.
    explicit SuspendingOperation(std::function<void()> allDone);

    std::shared_ptr<SuspendingDeferral> GetDeferral();

  private:
    struct Counter;
    std::shared_ptr<Counter> m_counter;
};

/// What handlers of Application::Suspending are given.
class SuspendingEventArgs {
  public:
    explicit SuspendingEventArgs(std::shared_ptr<platform::SuspendingOperation> operation)
        : m_operation(std::move(operation)) {}

    platform::SuspendingOperation& SuspendingOperation() { return *m_operation; }

  private:
    std::shared_ptr<platform::SuspendingOperation> m_operation;
};

}  // namespace platform
