#include "backends/headless/HeadlessLoop.h"

#include "platform/core/EnterLayer.h"
#include "platform/core/FileTime.h"
#include "platform/tasks/Clock.h"

namespace headless {

void HeadlessLoop::Post(std::function<void()> work) {
    const std::lock_guard lock(m_mutex);
    m_queue.push_back(std::move(work));
    m_wake.notify_one();
}

void HeadlessLoop::PostAfter(std::chrono::milliseconds delay, std::function<void()> work) {
    const auto due = platform::CurrentClock().Steady() + platform::ClockUnits(delay).count();
    const std::lock_guard lock(m_mutex);
    m_timers.emplace(due, std::move(work));
    m_wake.notify_one();
}

void HeadlessLoop::Quit() {
    const std::lock_guard lock(m_mutex);
    m_quit = true;
    m_wake.notify_one();
}

void HeadlessLoop::Run() {
    std::unique_lock lock(m_mutex);
    while (!m_quit) {
        const auto now = platform::CurrentClock().Steady();
        while (!m_timers.empty() && m_timers.begin()->first <= now) {
            m_queue.push_back(std::move(m_timers.begin()->second));
            m_timers.erase(m_timers.begin());
        }
        if (!m_queue.empty()) {
            auto work = std::move(m_queue.front());
            m_queue.pop_front();
            lock.unlock();
            platform::EnterLayer(work);
            // Not under the lock: what it captured may post.
            work = nullptr;
            lock.lock();
        } else if (!m_timers.empty()) {
            m_wake.wait_for(lock, platform::ClockUnits(m_timers.begin()->first - now));
        } else {
            m_wake.wait(lock);
        }
    }
    const auto queue = std::move(m_queue);
    const auto timers = std::move(m_timers);
    m_queue.clear();
    m_timers.clear();
    lock.unlock();
}

}  // namespace headless
