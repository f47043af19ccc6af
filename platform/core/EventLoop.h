#pragma once

#include <chrono>
#include <functional>

namespace platform {

/// The loop of the user-interface thread.
class EventLoop {
  public:
    virtual ~EventLoop() = default;

    /// Any thread. Queues `work` for the user-interface thread, in order; never runs it inline. An
    /// exception of `work` ends the application (EnterLayer).
    virtual void Post(std::function<void()> work) = 0;

    /// Any thread. The same after `delay`, by the world's clock.
    virtual void PostAfter(std::chrono::milliseconds delay, std::function<void()> work) = 0;

    /// Any thread. Makes the loop return once the work that runs now has ended. Work still queued is
    /// destroyed on the user-interface thread.
    virtual void Quit() = 0;
};

}  // namespace platform
