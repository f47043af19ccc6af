#include "platform/tasks/BlockingMutex.h"

#include "platform/core/Exception.h"
#include "platform/tasks/ThreadPool.h"

namespace platform {

void BlockingMutex::lock() {
    {
        const std::lock_guard lock(m_mutex);
        if (!m_owned) {
            m_owned = true;
            return;
        }
    }
    bool interrupted = false;
    const BlockingRegion blocking([&] {
        const std::lock_guard lock(m_mutex);
        interrupted = true;
        m_released.notify_all();
    });
    // Released before the region ends, which takes the lock under which the pool interrupts.
    std::unique_lock lock(m_mutex);
    m_released.wait(lock, [&] { return interrupted || !m_owned; });
    if (interrupted) {
        throw Exception(result::kAborted, u"The program is ending.");
    }
    m_owned = true;
}

void BlockingMutex::unlock() {
    const std::lock_guard lock(m_mutex);
    m_owned = false;
    m_released.notify_one();
}

}  // namespace platform
