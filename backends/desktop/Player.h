#pragma once

#include <memory>
#include <mutex>

#include "platform/media/SpeechEngine.h"

namespace desktop {

/// Plays sounds through PulseAudio's protocol (PipeWire speaks it too). Any thread. One thread serves all
/// sounds, from the first one on, and never waits for the server: a server that hangs cannot hold up
/// anything.
class Player {
  public:
    /// Loads what Play needs, on a thread that nobody waits for; later calls return at once. Throws a
    /// platform exception where libpulse is not installed.
    static void Load();

    /// See platform::SpeechEngine.
    std::unique_ptr<platform::Playback> Play(std::shared_ptr<const platform::SpeechSynthesisStream> stream,
                                             std::function<void(std::exception_ptr failure)> ended);

    /// The thread, and the lock that all sounds are used under.
    class Mainloop;

  private:
    std::mutex m_mutex;
    std::shared_ptr<Mainloop> m_mainloop;
};

}  // namespace desktop
