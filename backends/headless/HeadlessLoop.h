#pragma once

#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>

#include "platform/core/EventLoop.h"

namespace headless {

/// A queue of work that the thread calling Run works off, in order; timers go by the clock in use. Posting is
/// allowed on any thread.
class HeadlessLoop final : public platform::EventLoop {
  public:
    void Post(std::function<void()> work) override;
    void PostAfter(std::chrono::milliseconds delay, std::function<void()> work) override;
    void Quit() override;

    /// Returns after Quit, with the queue empty.
    void Run();

  private:
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<std::function<void()>> m_queue;
    /// By the time they are due at, in the clock's steady units.
    std::multimap<std::int64_t, std::function<void()>> m_timers;
    bool m_quit = false;
};

}  // namespace headless
