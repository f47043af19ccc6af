#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <list>
#include <memory>
#include <utility>

#include "platform/core/EventLoop.h"
#include "platform/core/Guarded.h"
#include "platform/core/UserInterfaceThread.h"
#include "platform/tasks/task.h"

namespace platform {

enum class CoreDispatcherPriority { Idle = -2, Low = -1, Normal = 0, High = 1 };

/// Brings work to the user-interface thread.
class CoreDispatcher : public std::enable_shared_from_this<CoreDispatcher> {
  public:
    explicit CoreDispatcher(EventLoop& loop) : m_loop(loop) {}
    ~CoreDispatcher();
    CoreDispatcher(const CoreDispatcher&) = delete;
    CoreDispatcher& operator=(const CoreDispatcher&) = delete;

    /// Any thread. Queues `handler` for the user-interface thread, also when called there; handlers run, and
    /// are destroyed, in the order of their posting. The task ends with the handler, or fails with its
    /// exception. Once the window is closed, the handler is refused: the task ends cancelled, and the handler
    /// is destroyed unrun by the next Close.
    task<void> RunAsync(CoreDispatcherPriority priority, std::function<void()> handler);

    /// Any thread. RunAsync after `delay`, by the world's clock. Until then the handler does not count as
    /// pending.
    void RunAfter(std::chrono::milliseconds delay, std::function<void()> handler);

    /// Any thread. A hold on `object` for work on other threads: whichever thread drops the last copy of it,
    /// the user-interface thread releases the object.
    template <typename T>
    std::shared_ptr<T> Hold(std::shared_ptr<T> object) {
        auto* const held = object.get();
        return {held, [self = shared_from_this(), object = std::move(object)](T*) mutable {
                    if (!IsUserInterfaceThread()) {
                        self->RunAsync(CoreDispatcherPriority::Normal, [object = std::move(object)] {});
                    }
                }};
    }

    /// Handlers that have been posted and have not ended yet. Any thread.
    std::size_t Pending() const { return m_pending.load(); }

    /// Calls `callback` on the user-interface thread after each handler.
    void OnHandlerEnded(std::function<void()> callback) { m_onHandlerEnded = std::move(callback); }

    /// From now on every handler is refused. Those that are queued are destroyed here, and their tasks end
    /// cancelled, whether or not the loop still runs. To be called again when no other thread can post any
    /// more: destroys those that have been refused since. User-interface thread.
    void Close();

  private:
    struct Posted {
        std::function<void()> handler;
        task_completion_event<void> ended;
    };
    struct State {
        /// Lists, which need no memory where the dispatcher is closed.
        std::list<Posted> queue;
        std::list<Posted> refused;
        bool closed = false;
    };

    /// Posted to the loop once for each handler.
    void RunNext();

    EventLoop& m_loop;
    std::function<void()> m_onHandlerEnded;
    Guarded<State> m_state;
    std::atomic<std::size_t> m_pending = 0;
};

}  // namespace platform
