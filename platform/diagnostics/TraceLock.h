#pragma once

#include <mutex>

namespace platform {

/// A lock that is held for some ten nanoseconds: a thread that finds it taken tries again for a microsecond
/// or two before it sleeps, since going to sleep and being woken take longer than that.
class TraceMutex {
  public:
    void lock() {
        for (int tries = 0; tries < kTries; ++tries) {
            if (m_mutex.try_lock()) {
                return;
            }
            Pause();
        }
        m_mutex.lock();
    }
    void unlock() { m_mutex.unlock(); }

  private:
    static constexpr int kTries = 100;

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
