#include "backends/desktop/Speech.h"

#include "backends/desktop/Player.h"
#include "backends/desktop/Synthesizer.h"

namespace desktop {

namespace {

class Engine final : public platform::SpeechEngine {
  public:
    explicit Engine(std::u16string language) : m_synthesizer(std::move(language)) {}

    std::vector<platform::VoiceInformation> Voices() override { return m_synthesizer.Voices(); }

    platform::SpeechSynthesisStream Synthesize(std::u16string_view text,
                                               const platform::VoiceInformation& voice,
                                               double rate) override {
        Player::Load();
        return m_synthesizer.Synthesize(text, voice, rate);
    }

    std::unique_ptr<platform::Playback> Play(std::shared_ptr<const platform::SpeechSynthesisStream> stream,
                                             std::function<void(std::exception_ptr failure)> ended) override {
        return m_player.Play(std::move(stream), std::move(ended));
    }

  private:
    Synthesizer m_synthesizer;
    Player m_player;
};

}  // namespace

std::unique_ptr<platform::SpeechEngine> NewSpeechEngine(std::u16string language) {
    return std::make_unique<Engine>(std::move(language));
}

}  // namespace desktop
