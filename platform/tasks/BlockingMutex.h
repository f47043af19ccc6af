#pragma once

#include <condition_variable>
#include <mutex>

namespace platform {

/// A lock whose owner may block for long, for example in a remote call. Waiting for it counts as blocking:
/// the pool gives other work another worker, and stopping the pool ends the wait. For std::lock_guard; not
/// recursive. Any thread.
class BlockingMutex {
  public:
    /// Throws a platform exception, without the lock, when the pool is stopped while it waits.
    void lock();
    void unlock();

  private:
    std::mutex m_mutex;
    std::condition_variable m_released;
    bool m_owned = false;
};

}  // namespace platform
