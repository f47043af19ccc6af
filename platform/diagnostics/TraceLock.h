#pragma once

#include <mutex>

namespace platform {

/// A lock that is held for some ten nanoseconds: a thread that finds it taken tries again for a few
/// microseconds before it sleeps, since going to sleep and being woken take longer than that. It waits twice
/// as long between tries each time: a try takes the lock's memory away from the processor that holds it, and
/// two threads that get it in turn for each call move all of it to and fro.
class TraceMutex {
  public:
    void lock() {
        for (int pauses = 1; pauses <= kLongestPause; pauses *= 2) {
            if (m_mutex.try_lock()) {
                return;
            }
            for (int i = 0; i < pauses; ++i) {
                Pause();
            }
        }
        m_mutex.lock();
    }
    void unlock() { m_mutex.unlock(); }

  private:
    static constexpr int kLongestPause = 64;

    /// Tells the processor that this thread only waits.
    static void Pause() {
#if defined(__x86_64__)
        __builtin_ia32_pause();
#elif defined(__aarch64__)
        asm volatile("yield");
#endif
    }

    std::mutex m_mutex;
};

/// The one lock that a message takes: all channels and sessions of the process share it. It guards which
/// session records which channel, and each session's memory. Never destroyed.
TraceMutex& TraceLock();

}  // namespace platform
