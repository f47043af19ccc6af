#pragma once

#include "platform/core/Guarded.h"
#include "platform/media/SpeechEngine.h"

namespace headless {

/// Speech that is written down instead of being heard.
class HeadlessSpeech final : public platform::SpeechEngine {
  public:
    /// What was spoken, and by whom.
    struct Utterance {
        std::u16string Text;
        std::u16string VoiceId;
        bool operator==(const Utterance&) const = default;
    };

    explicit HeadlessSpeech(std::vector<platform::VoiceInformation> voices) : m_voices(std::move(voices)) {}

    std::vector<platform::VoiceInformation> Voices() override { return m_voices; }
    /// The samples are the text's characters.
    platform::SpeechSynthesisStream Synthesize(std::u16string_view text,
                                               const platform::VoiceInformation& voice) override;

    /// Plays at once, to the end: `ended` is called before the call returns.
    std::unique_ptr<platform::Playback> Play(std::shared_ptr<const platform::SpeechSynthesisStream> stream,
                                             std::function<void(std::exception_ptr)> ended) override;

    /// What has been synthesized so far. Any thread.
    std::vector<Utterance> Spoken() const {
        return m_spoken.With([](const auto& spoken) { return spoken; });
    }

    /// The texts of what has been played so far. Any thread.
    std::vector<std::u16string> Played() const {
        return m_played.With([](const auto& played) { return played; });
    }

  private:
    const std::vector<platform::VoiceInformation> m_voices;
    platform::Guarded<std::vector<Utterance>> m_spoken;
    platform::Guarded<std::vector<std::u16string>> m_played;
};

}  // namespace headless
