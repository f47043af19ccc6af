#include "platform/tasks/ThreadPool.h"

#include <algorithm>
#include <utility>

#include "platform/core/Exception.h"
#include "platform/tasks/Unobserved.h"

namespace platform {

namespace {
thread_local ThreadPool* t_pool = nullptr;
/// The blocking regions that the thread is in.
thread_local std::size_t t_regions = 0;

[[noreturn]] void ThrowNoThread() {
    throw Exception(result::kOutOfMemory, u"The system gives this program no further thread.");
}

}  // namespace

ThreadPool& ThreadPool::Default() {
    static ThreadPool pool(std::max(2U, std::thread::hardware_concurrency()));
    return pool;
}

ThreadPool::ThreadPool(std::size_t workers) : m_base(workers) {}

ThreadPool::~ThreadPool() {
    Stop();
}

std::size_t ThreadPool::Outstanding() const {
    const std::lock_guard lock(m_mutex);
    return m_outstanding;
}

void ThreadPool::OnIdle(std::function<void()> callback) {
    const std::lock_guard lock(m_mutex);
    m_onIdle = std::move(callback);
}

void ThreadPool::Submit(std::function<void()> work, WorkItemPriority priority) {
    const std::lock_guard lock(m_mutex);
    m_queue.push_back({std::move(work), priority});
    if (!StartWorkerIfNeeded()) {
        // Destroyed by the caller, outside the lock.
        work = std::move(m_queue.back().Work);
        m_queue.pop_back();
        ThrowNoThread();
    }
    m_outstanding += priority == WorkItemPriority::Normal ? 1 : 0;
    m_wake.notify_one();
}

bool ThreadPool::StartWorkerIfNeeded() {
    if (m_queue.size() <= m_waiting || m_live - m_blocked >= m_base) {
        return true;
    }
    try {
        m_threads.emplace_back([this] { Work(); });
    } catch (const std::exception&) {
        // Those that live get round to the work, unless all are blocked, perhaps by waiting for it.
        return m_live > m_blocked;
    }
    // The new one waits for the lock.
    ++m_live;
    return true;
}

bool ThreadPool::MayRun() const {
    return !m_queue.empty() && m_running - m_blocked < m_base;
}

void ThreadPool::Work() {
    t_pool = this;
    std::unique_lock lock(m_mutex);
    while (true) {
        ++m_waiting;
        m_wake.wait(lock, [this] { return MayRun() || (m_stopping && m_running == 0); });
        --m_waiting;
        if (m_queue.empty()) {
            break;
        }
        auto [work, priority] = std::move(m_queue.front());
        m_queue.pop_front();
        ++m_running;
        lock.unlock();
        try {
            work();
        } catch (...) {
            ReportUnobserved(std::current_exception());
        }
        // Destroys what the work captured before it counts as done.
        work = nullptr;
        lock.lock();
        --m_running;
        if (priority == WorkItemPriority::Normal && --m_outstanding == 0 && m_onIdle) {
            const auto onIdle = m_onIdle;
            lock.unlock();
            onIdle();
            lock.lock();
        }
    }
    --m_live;
    m_wake.notify_all();
    m_workerLeft.notify_all();
}

void ThreadPool::Stop() {
    std::vector<std::jthread> threads;
    std::unique_lock lock(m_mutex);
    m_stopping = true;
    m_onIdle = nullptr;
    for (const auto* region = m_regions; region != nullptr; region = region->m_next) {
        if (region->m_interrupt) {
            region->m_interrupt();
        }
    }
    m_wake.notify_all();
    m_workerLeft.wait(lock, [this] { return m_live == 0; });
    threads.swap(m_threads);
    m_stopping = false;
}

BlockingRegion::BlockingRegion(std::function<void()> interrupt)
    : m_interrupt(std::move(interrupt)), m_onWorker(t_pool == &ThreadPool::Default()) {
    auto& pool = ThreadPool::Default();
    const std::lock_guard lock(pool.m_mutex);
    m_next = std::exchange(pool.m_regions, this);
    if (m_next != nullptr) {
        m_next->m_previous = this;
    }
    if (pool.m_stopping && m_interrupt) {
        m_interrupt();
    }
    if (m_onWorker && t_regions == 0) {
        ++pool.m_blocked;
    }
    ++t_regions;
    m_isStuck = m_onWorker && !pool.StartWorkerIfNeeded();
    if (pool.MayRun()) {
        pool.m_wake.notify_one();
    }
}

void BlockingRegion::VerifyProgress() const {
    if (m_isStuck) {
        ThrowNoThread();
    }
}

BlockingRegion::~BlockingRegion() {
    auto& pool = ThreadPool::Default();
    const std::lock_guard lock(pool.m_mutex);
    (m_previous != nullptr ? m_previous->m_next : pool.m_regions) = m_next;
    if (m_next != nullptr) {
        m_next->m_previous = m_previous;
    }
    --t_regions;
    if (m_onWorker && t_regions == 0) {
        --pool.m_blocked;
    }
}

}  // namespace platform
