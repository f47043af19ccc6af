#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace platform {

class BlockingRegion;

/// Low is background work, which no page waits for.
enum class WorkItemPriority { Normal, Low };

/// The process's worker threads. A worker that is about to block says so with a BlockingRegion; another one
/// then takes the work that is waiting, so operations that wait on a worker for other workers cannot lock the
/// pool up, also with one core. Workers live until the pool is stopped: one that has replaced a blocked
/// worker waits for the next time. All members: any thread.
class ThreadPool {
  public:
    static ThreadPool& Default();

    /// Runs a work item on a worker of the default pool.
    static void RunAsync(std::function<void()> workItem,
                         WorkItemPriority priority = WorkItemPriority::Normal) {
        Default().Submit(std::move(workItem), priority);
    }

    explicit ThreadPool(std::size_t workers);
    ~ThreadPool();
    ThreadPool(const ThreadPool&) = delete;
    ThreadPool& operator=(const ThreadPool&) = delete;

    /// Queues `work` for a worker. Throws, and does not take the work, when no worker is unblocked and the
    /// system starts none.
    void Submit(std::function<void()> work, WorkItemPriority priority = WorkItemPriority::Normal);

    /// Work of normal priority that is queued or running, blocked work included.
    std::size_t Outstanding() const;

    /// Called by a worker each time Outstanding has fallen to zero; it must not block. Empty for none.
    void OnIdle(std::function<void()> callback);

    /// Interrupts every blocking region, those that begin during the call included, and waits until all work,
    /// and the work that it still queues, has ended and all workers have ended. Not on a worker.
    void Stop();

  private:
    friend class BlockingRegion;

    struct Item {
        std::function<void()> Work;
        WorkItemPriority Priority;
    };

    /// False when work waits, no worker is unblocked, and the system starts none.
    bool StartWorkerIfNeeded();
    /// True when work waits and fewer workers than the base run unblocked.
    bool MayRun() const;
    void Work();

    const std::size_t m_base;
    mutable std::mutex m_mutex;
    std::condition_variable m_wake;
    /// Apart from m_wake, so that a wake-up meant for a worker never wakes Stop instead.
    std::condition_variable m_workerLeft;
    std::deque<Item> m_queue;
    std::vector<std::jthread> m_threads;
    /// The first of the blocking regions of all threads.
    BlockingRegion* m_regions = nullptr;
    std::function<void()> m_onIdle;
    std::size_t m_live = 0;
    std::size_t m_waiting = 0;
    std::size_t m_blocked = 0;
    std::size_t m_running = 0;
    /// Work of normal priority, queued or running.
    std::size_t m_outstanding = 0;
    bool m_stopping = false;
};

/// While it lives, the calling thread may block. On a worker of the default pool another worker may take its
/// place; on any other thread only `interrupt` counts. `interrupt` is called (on the stopping thread, at most
/// once) when the pool is stopped and must make the blocking call return; it must not throw or block. Regions
/// may nest: a thread counts as blocked once.
class BlockingRegion {
  public:
    explicit BlockingRegion(std::function<void()> interrupt = {});
    ~BlockingRegion();
    BlockingRegion(const BlockingRegion&) = delete;
    BlockingRegion& operator=(const BlockingRegion&) = delete;

    /// Throws when work is queued and no worker is left to do it: the wait might depend on that work.
    void VerifyProgress() const;

  private:
    friend class ThreadPool;

    const std::function<void()> m_interrupt;
    // Linked here, so that a remote call allocates nothing for it. Guarded by the pool's lock.
    BlockingRegion* m_previous = nullptr;
    BlockingRegion* m_next = nullptr;
    const bool m_onWorker;
    bool m_isStuck = false;
};

}  // namespace platform
