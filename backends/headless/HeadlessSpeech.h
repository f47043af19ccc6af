#pragma once

#include "platform/core/EventLoop.h"
#include "platform/core/Guarded.h"
#include "platform/media/SpeechEngine.h"

namespace headless {

/// Speech that is remembered instead of being heard.
class HeadlessSpeech final : public platform::SpeechEngine {
  public:
    /// What was synthesized, with which voice and how fast.
    struct Utterance {
        std::u16string Text;
        std::u16string VoiceId;
        double Rate = 1;
        bool operator==(const Utterance&) const = default;
    };

    enum class SoundState { Playing, Ended, Failed, Stopped };

    /// What was played.
    struct Sound {
        std::u16string Text;
        SoundState State = SoundState::Playing;
        bool operator==(const Sound&) const = default;
    };

    /// Sounds end on the thread that runs `loop`: as soon as it has time, or at EndSounds where `soundsLast`.
    /// Without `hasSound` they fail there.
    HeadlessSpeech(std::vector<platform::VoiceInformation> voices, bool hasSound, bool soundsLast,
                   platform::EventLoop& loop)
        : m_voices(std::move(voices)), m_hasSound(hasSound), m_soundsLast(soundsLast), m_loop(loop) {}

    std::vector<platform::VoiceInformation> Voices() override { return m_voices; }
    /// The samples are the text's characters.
    platform::SpeechSynthesisStream Synthesize(std::u16string_view text,
                                               const platform::VoiceInformation& voice, double rate) override;
    std::unique_ptr<platform::Playback> Play(std::shared_ptr<const platform::SpeechSynthesisStream> stream,
                                             std::function<void(std::exception_ptr failure)> ended) override;

    void EndSounds();

    /// All of them since the start. Any thread.
    std::vector<Utterance> Spoken() const {
        return m_spoken.With([](const auto& spoken) { return spoken; });
    }
    std::vector<Sound> Sounds() const {
        return m_sounds.With([](const auto& sounds) { return sounds; });
    }

  private:
    class Playback;

    const std::vector<platform::VoiceInformation> m_voices;
    const bool m_hasSound;
    const bool m_soundsLast;
    platform::EventLoop& m_loop;
    platform::Guarded<std::vector<Utterance>> m_spoken;
    platform::Guarded<std::vector<Sound>> m_sounds;
    /// Ends of sounds that last.
    platform::Guarded<std::vector<std::function<void()>>> m_ends;
};

}  // namespace headless
