#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/media/SpeechEngine.h"

namespace desktop {

/// espeak-ng, opened. One thread at a time, and one object in the life of a process: the library's state is
/// global, and version 1.51 hangs when it is closed a second time.
class SpeechLibrary {
  public:
    using Samples = std::vector<std::int16_t>;

    /// Throws a platform exception when the library finds no voice data. Speaking breaks off when `ending`
    /// becomes true.
    explicit SpeechLibrary(const std::atomic<bool>& ending);
    ~SpeechLibrary();
    SpeechLibrary(const SpeechLibrary&) = delete;
    SpeechLibrary& operator=(const SpeechLibrary&) = delete;

    /// Samples per second.
    std::uint32_t SampleRate() const { return m_sampleRate; }

    /// All voices: the default voice of `language` (BCP 47), its female variants, the language's other
    /// voices, the rest. Reads a few hundred files.
    std::vector<platform::VoiceInformation> Voices(const std::u16string& language);

    /// Selects the voice by its identifier or language, with a variant after a plus sign ("gmw/en-US+f2").
    /// Returns false when there is none.
    [[nodiscard]] bool SelectVoice(const std::string& name);

    /// As a share of a voice's usual speed, for all voices from now on.
    void SetRate(double rate);

    /// The text as the selected voice reads it. Throws a platform exception when it cannot be spoken.
    Samples Read(std::u16string_view text);

    /// The name of a character ("b", "seven", "dash"), without the silence around it.
    Samples NameOf(char32_t character);

  private:
    template <typename Speak>
    Samples Record(Speak speak);

    std::uint32_t m_sampleRate = 0;
    const std::atomic<bool>& m_ending;
};

}  // namespace desktop
