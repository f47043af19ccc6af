#include "platform/core/Suspension.h"

#include <utility>

namespace platform {

/// Counts open deferrals; calls back when the last one is completed.
struct SuspendingOperation::Counter {
    explicit Counter(std::function<void()> done) : allDone(std::move(done)) {}
    ~Counter() { allDone(); }
    Counter(const Counter&) = delete;
    Counter& operator=(const Counter&) = delete;

    std::function<void()> allDone;
};

SuspendingDeferral::SuspendingDeferral(std::function<void()> complete) : m_complete(std::move(complete)) {}

SuspendingDeferral::~SuspendingDeferral() {
    Complete();
}

void SuspendingDeferral::Complete() {
    std::function<void()> complete;
    {
        const std::lock_guard lock(m_mutex);
        complete.swap(m_complete);
    }
    if (complete) {
        complete();
    }
}

SuspendingOperation::SuspendingOperation(std::function<void()> allDone)
    : m_counter(std::make_shared<Counter>(std::move(allDone))) {}

std::shared_ptr<SuspendingDeferral> SuspendingOperation::GetDeferral() {
    return std::make_shared<SuspendingDeferral>([counter = m_counter] {});
}

}  // namespace platform
