#include "platform/tasks/CoreDispatcher.h"

#include <optional>
#include <utility>

namespace platform {

namespace {

void EndCancelled(const task_completion_event<void>& ended) {
    ended.set_exception(std::make_exception_ptr(task_canceled()));
}

}  // namespace

CoreDispatcher::~CoreDispatcher() {
    Close();
}

task<void> CoreDispatcher::RunAsync(CoreDispatcherPriority, std::function<void()> handler) {
    const task_completion_event<void> ended;
    // Destroyed outside the lock where something fails: what a handler captured may post then.
    std::list<Posted> posted;
    posted.push_back({.handler = std::move(handler), .ended = ended});
    const bool taken = m_state.With([&](State& state) {
        if (state.closed) {
            state.refused.splice(state.refused.end(), posted);
            return false;
        }
        // Under the lock, so that nothing is posted to a loop that is destroyed after Close; first, so that a
        // failure leaves no handler that nothing runs.
        m_loop.Post([self = shared_from_this()] { self->RunNext(); });
        state.queue.splice(state.queue.end(), posted);
        m_pending.fetch_add(1);
        return true;
    });
    if (!taken) {
        EndCancelled(ended);
    }
    return create_task(ended);
}

void CoreDispatcher::RunAfter(std::chrono::milliseconds delay, std::function<void()> handler) {
    std::list<Posted> posted;
    posted.push_back({.handler = std::move(handler), .ended = {}});
    m_state.With([&](State& state) {
        if (state.closed) {
            state.refused.splice(state.refused.end(), posted);
            return;
        }
        // A copy, so that a failure destroys nothing under the lock.
        m_loop.PostAfter(delay, [self = shared_from_this(), copy = posted.front().handler] {
            self->RunAsync(CoreDispatcherPriority::Normal, copy);
        });
    });
}

void CoreDispatcher::RunNext() {
    auto next = m_state.With([](State& state) -> std::optional<Posted> {
        if (state.queue.empty()) {
            return std::nullopt;
        }
        std::optional<Posted> front = std::move(state.queue.front());
        state.queue.pop_front();
        return front;
    });
    if (!next) {
        return;
    }
    std::exception_ptr failure;
    try {
        next->handler();
    } catch (...) {
        failure = std::current_exception();
    }
    // Destroy the captures before Pending() drops.
    next->handler = nullptr;
    failure ? next->ended.set_exception(std::move(failure)) : next->ended.set();
    m_pending.fetch_sub(1);
    if (m_onHandlerEnded) {
        m_onHandlerEnded();
    }
}

void CoreDispatcher::Close() {
    auto [refused, queue] = m_state.With([](State& state) {
        state.closed = true;
        return std::pair(std::exchange(state.refused, {}), std::exchange(state.queue, {}));
    });
    for (auto& posted : queue) {
        posted.handler = nullptr;
        EndCancelled(posted.ended);
        m_pending.fetch_sub(1);
    }
}

}  // namespace platform
