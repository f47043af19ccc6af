#pragma once

#include <atomic>
#include <deque>
#include <map>

#include "backends/desktop/GLibPtr.h"
#include "platform/core/EventLoop.h"
#include "platform/core/Guarded.h"

namespace desktop {

/// The toolkit's main loop as the layer's. Posted work runs above drawing and as urgent as input.
class Loop final : public platform::EventLoop {
  public:
    ~Loop() override;

    void Post(std::function<void()> work) override;
    void PostAfter(std::chrono::milliseconds delay, std::function<void()> work) override;
    void Quit() override;

    /// User-interface thread. `quit` ends the toolkit's loop; called on this thread, once.
    void OnQuit(std::function<void()> quit) { m_onQuit = std::move(quit); }

    /// User-interface thread, after the loop has ended: destroys what is still queued, and what is posted
    /// from now on at once.
    void Close();

  private:
    struct Timer {
        Loop* loop;
        std::uint64_t key;
    };
    struct State {
        std::deque<std::function<void()>> queue;
        bool wakeUpPending = false;
        /// Work that waits for its time, and the source that waits.
        std::map<std::uint64_t, std::pair<guint, std::function<void()>>> timers;
        std::uint64_t lastTimer = 0;
        bool closed = false;
    };

    void WakeUp(State& state);
    void RunQueue();

    platform::Guarded<State> m_state;
    std::atomic<bool> m_quit = false;
    std::function<void()> m_onQuit;
};

}  // namespace desktop
