#pragma once

#include <atomic>
#include <functional>
#include <memory>

#include "platform/core/UserInterfaceThread.h"
#include "platform/core/World.h"
#include "platform/tasks/task.h"

namespace platform {

enum class CoreDispatcherPriority { Idle = -2, Low = -1, Normal = 0, High = 1 };

/// Brings work to the user-interface thread.
class CoreDispatcher : public std::enable_shared_from_this<CoreDispatcher> {
  public:
    explicit CoreDispatcher(EventLoop& loop) : m_loop(loop) {}

    /// Any thread.
    bool HasThreadAccess() const { return IsUserInterfaceThread(); }

    /// Any thread. Queues `handler` for the user-interface thread, also when called there; handlers run in
    /// the order of their posting. The task ends with the handler, or fails with its exception. Once the
    /// window is gone, the handler is refused: it is destroyed unrun, and the task ends cancelled.
    task<void> RunAsync(CoreDispatcherPriority priority, std::function<void()> handler);

    /// Handlers that have been posted and have not ended yet. Any thread.
    std::size_t Pending() const { return m_pending.load(); }

    /// Calls `callback` on the user-interface thread after each handler.
    void OnHandlerEnded(std::function<void()> callback) { m_onHandlerEnded = std::move(callback); }

    /// From now on every handler is refused, also those already queued. User-interface thread.
    void Close() { m_closed.store(true); }

  private:
    EventLoop& m_loop;
    std::function<void()> m_onHandlerEnded;
    std::atomic<std::size_t> m_pending = 0;
    std::atomic<bool> m_closed = false;
};

}  // namespace platform
