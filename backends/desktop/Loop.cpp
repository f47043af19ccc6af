#include "backends/desktop/Loop.h"

#include "platform/core/EnterLayer.h"

namespace desktop {

Loop::~Loop() {
    Close();
}

void Loop::WakeUp(State& state) {
    if (!std::exchange(state.wakeUpPending, true)) {
        AddIdle(
            G_PRIORITY_DEFAULT,
            [](gpointer self) -> gboolean {
                static_cast<Loop*>(self)->RunQueue();
                return G_SOURCE_REMOVE;
            },
            this);
    }
}

void Loop::Post(std::function<void()> work) {
    m_state.With([&](State& state) {
        if (!state.closed) {
            state.queue.push_back(std::move(work));
            WakeUp(state);
        }
    });
}

void Loop::PostAfter(std::chrono::milliseconds delay, std::function<void()> work) {
    m_state.With([&](State& state) {
        if (state.closed) {
            return;
        }
        const auto key = ++state.lastTimer;
        const auto source = AddTimeout(
            G_PRIORITY_DEFAULT, static_cast<guint>(delay.count()),
            [](gpointer data) -> gboolean {
                const auto* const timer = static_cast<Timer*>(data);
                timer->loop->m_state.With([key = timer->key, loop = timer->loop](State& state) {
                    auto due = state.timers.extract(key);
                    state.queue.push_back(std::move(due.mapped().second));
                    loop->WakeUp(state);
                });
                return G_SOURCE_REMOVE;
            },
            new Timer{this, key}, [](gpointer data) { delete static_cast<Timer*>(data); });
        state.timers.emplace(key, std::pair{source, std::move(work)});
    });
}

void Loop::Quit() {
    m_quit.store(true);
    m_state.With([this](State& state) { WakeUp(state); });
}

void Loop::RunQueue() {
    // Only what is queued now: a flood of posts must not keep input and drawing from their turn.
    auto batch = m_state.With([](State& state) {
        state.wakeUpPending = false;
        return std::exchange(state.queue, {});
    });
    while (!batch.empty() && !m_quit.load()) {
        const auto work = std::move(batch.front());
        batch.pop_front();
        platform::EnterLayer(work);
    }
    if (m_quit.load() && m_onQuit) {
        std::exchange(m_onQuit, nullptr)();
    }
}

void Loop::Close() {
    // Destroyed outside the lock, since destructors may call Post.
    State rest;
    m_state.With([&](State& state) {
        state.closed = true;
        rest.queue.swap(state.queue);
        rest.timers.swap(state.timers);
        if (std::exchange(state.wakeUpPending, false)) {
            g_idle_remove_by_data(this);
        }
    });
    for (const auto& [key, timer] : rest.timers) {
        g_source_remove(timer.first);
    }
}

}  // namespace desktop
