#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "backends/desktop/SpeechLibrary.h"
#include "platform/media/SpeechEngine.h"

namespace desktop {

/// A character as it is spoken.
struct SpokenCharacter {
    char32_t Character;
    std::vector<std::int16_t> Samples;
    /// The silence after it, in samples: longer after a group, none after the last character.
    std::size_t Pause;
};

/// Text to sound by espeak-ng, into memory. Any thread but the user-interface thread; the library speaks one
/// text at a time. The library is opened and the list of voices read by the first call.
class Synthesizer {
  public:
    /// `language` is the user's, a BCP 47 tag.
    explicit Synthesizer(std::u16string language) : m_language(std::move(language)) {}

    /// Breaks off what is being spoken.
    ~Synthesizer();
    Synthesizer(const Synthesizer&) = delete;
    Synthesizer& operator=(const Synthesizer&) = delete;

    /// See platform::SpeechEngine. Empty when there is no speech data.
    std::vector<platform::VoiceInformation> Voices();

    /// See platform::SpeechEngine. An identifier is spelled. Where the voice cannot say a character's name,
    /// or has no digits for a text that needs them, English is spoken with the same variant of the voice.
    platform::SpeechSynthesisStream Synthesize(std::u16string_view text,
                                               const platform::VoiceInformation& voice, double rate = 1);

    /// What Synthesize makes of an identifier, character by character.
    std::vector<SpokenCharacter> Spell(std::u16string_view identifier,
                                       const platform::VoiceInformation& voice, double rate = 1);

  private:
    /// Opens the library unless it is open. `m_mutex` is held.
    SpeechLibrary& Library();

    const std::u16string m_language;
    std::atomic<bool> m_ending = false;
    std::mutex m_mutex;
    std::optional<SpeechLibrary> m_library;
    std::vector<platform::VoiceInformation> m_voices;
};

}  // namespace desktop
