#pragma once

#include <atomic>
#include <csignal>
#include <functional>
#include <thread>

namespace platform {

/// Keeps the signals that ask a program to end (SIGTERM, SIGINT, SIGHUP) from the calling thread and from all
/// threads that it starts, so that EndSignals gets them. Call it first in main.
void BlockEndSignals();

/// Waits for those signals on a thread of its own, and calls the handler there for each that the program was
/// not told to ignore, until it is destroyed; then the destroying thread lets them through again. Create and
/// destroy it on the same thread.
class EndSignals {
  public:
    explicit EndSignals(std::function<void()> handler);
    ~EndSignals();
    EndSignals(const EndSignals&) = delete;
    EndSignals& operator=(const EndSignals&) = delete;

  private:
    std::atomic<bool> m_stopping = false;
    std::thread m_thread;
};

}  // namespace platform
