#pragma once

#include <pthread.h>

namespace platform {

/// A lock that is held for some ten nanoseconds: a thread that finds it taken spins a little before it
/// sleeps.
class TraceMutex {
  public:
    void lock() { pthread_mutex_lock(&m_mutex); }
    void unlock() { pthread_mutex_unlock(&m_mutex); }

  private:
    pthread_mutex_t m_mutex = PTHREAD_ADAPTIVE_MUTEX_INITIALIZER_NP;
};

/// The one lock that a message takes: all channels and sessions of the process share it. It guards which
/// session records which channel, and each session's memory. Never destroyed.
TraceMutex& TraceLock();

}  // namespace platform
