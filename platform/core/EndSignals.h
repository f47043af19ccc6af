#pragma once

#include <atomic>
#include <csignal>
#include <functional>
#include <thread>

namespace platform {

/// Keeps the signals that ask a program to end (SIGTERM, SIGINT, SIGHUP) from the calling thread and from all
/// threads that it starts, so that EndSignals gets them. Call it first in main.
void BlockEndSignals();

/// Waits for those signals on its own thread, and calls the handler there for each that was not ignored when
/// the program started. The destructor ends that and unblocks the signals for the calling thread. Create and
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
