#include "platform/tasks/TaskState.h"

#include "platform/core/Exception.h"
#include "platform/core/UserInterfaceThread.h"
#include "platform/tasks/Cancellation.h"
#include "platform/tasks/ThreadPool.h"
#include "platform/tasks/Unobserved.h"

namespace platform::detail {

void Rethrow(const std::exception_ptr& failure) {
    try {
        std::rethrow_exception(failure);
    } catch (const Exception& exception) {
        throw Exception(exception);
    }
}

std::exception_ptr CopyOf(const std::exception_ptr& failure) {
    try {
        Rethrow(failure);
    } catch (...) {
        return std::current_exception();
    }
}

TaskStateBase::~TaskStateBase() {
    if (!m_failure || m_failureSeen) {
        return;
    }
    try {
        std::rethrow_exception(m_failure);
    } catch (const task_canceled&) {
        // A cancelled task without an observer is no error.
    } catch (...) {
        ReportUnobserved(std::current_exception());
    }
}

bool TaskStateBase::IsDone() const {
    const std::lock_guard lock(m_mutex);
    return m_done;
}

void TaskStateBase::WhenDone(std::function<void()> continuation) {
    {
        const std::lock_guard lock(m_mutex);
        if (!m_continued) {
            m_continuations.push_back(std::move(continuation));
            return;
        }
    }
    continuation();
}

void TaskStateBase::Wait() const {
    std::unique_lock lock(m_mutex);
    if (m_done) {
        return;
    }
    if (IsUserInterfaceThread()) {
        throw Exception(result::kIllegalMethodCall, u"Illegal to wait on a task in a Windows Runtime STA");
    }
    lock.unlock();
    const BlockingRegion blocking;
    blocking.VerifyProgress();
    lock.lock();
    m_ended.wait(lock, [this] { return m_done; });
}

std::exception_ptr TaskStateBase::Failure() {
    const std::lock_guard lock(m_mutex);
    m_failureSeen = true;
    return m_failure;
}

void TaskStateBase::Fail(std::exception_ptr failure) {
    Finish([&] { m_failure = std::move(failure); });
}

void TaskStateBase::Finish(const std::function<void()>& store) {
    std::unique_lock lock(m_mutex);
    if (m_done) {
        return;
    }
    store();
    m_done = true;
    m_ended.notify_all();
    std::exception_ptr failure;
    // Others may be added meanwhile.
    for (std::size_t i = 0; i < m_continuations.size(); ++i) {
        auto continuation = std::move(m_continuations[i]);
        lock.unlock();
        try {
            continuation();
        } catch (...) {
            failure = std::current_exception();
        }
        // Destroys what it captured while nothing is locked.
        continuation = nullptr;
        lock.lock();
    }
    m_continuations.clear();
    m_continued = true;
    lock.unlock();
    if (failure) {
        std::rethrow_exception(failure);
    }
}

}  // namespace platform::detail
