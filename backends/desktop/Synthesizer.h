#pragma once

#include <atomic>
#include <future>
#include <mutex>
#include <string>
#include <vector>

#include "platform/media/SpeechEngine.h"

namespace desktop {

/// Text to sound by espeak-ng, into memory. Any thread; the library speaks one text at a time.
class Synthesizer {
  public:
    /// Starts to read the list of voices on a thread of its own. `language` is the user's, a BCP 47 tag.
    explicit Synthesizer(std::u16string language);

    /// Breaks off what is being spoken.
    ~Synthesizer();
    Synthesizer(const Synthesizer&) = delete;
    Synthesizer& operator=(const Synthesizer&) = delete;

    /// See platform::SpeechEngine.
    std::vector<platform::VoiceInformation> Voices() const { return m_library.get().voices; }
    platform::SpeechSynthesisStream Synthesize(std::u16string_view text,
                                               const platform::VoiceInformation& voice);

  private:
    struct Library {
        /// Samples a second; negative when the library has found no voice data.
        int sampleRate = -1;
        std::vector<platform::VoiceInformation> voices;
    };
    static Library Open(const std::u16string& language);

    std::atomic<bool> m_ending = false;
    std::mutex m_speaking;
    std::shared_future<Library> m_library;
};

}  // namespace desktop
