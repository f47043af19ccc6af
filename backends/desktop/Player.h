#pragma once

#include <memory>
#include <thread>
#include <vector>

#include "platform/core/Guarded.h"
#include "platform/media/SpeechEngine.h"

namespace desktop {

/// Plays sounds through PulseAudio's protocol (PipeWire speaks it too), each on a thread of its own. Any
/// thread.
class Player {
  public:
    /// Ends what still plays and waits for its threads.
    ~Player();

    /// See platform::SpeechEngine.
    std::unique_ptr<platform::Playback> Play(std::shared_ptr<const platform::SpeechSynthesisStream> stream,
                                             std::function<void(std::exception_ptr failure)> ended);

  private:
    class Sound;
    class Handle;
    struct Running {
        std::shared_ptr<Sound> sound;
        std::thread thread;
    };

    platform::Guarded<std::vector<Running>> m_running;
};

}  // namespace desktop
