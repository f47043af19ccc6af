#include "backends/headless/HeadlessSpeech.h"

namespace headless {

platform::SpeechSynthesisStream HeadlessSpeech::Synthesize(std::u16string_view text,
                                                           const platform::VoiceInformation& voice) {
    m_spoken.With(
        [&](auto& spoken) { spoken.push_back({.Text = std::u16string(text), .VoiceId = voice.Id}); });
    platform::SpeechSynthesisStream stream;
    stream.SampleRate = 8000;
    stream.Samples.assign(text.begin(), text.end());
    return stream;
}

std::unique_ptr<platform::Playback> HeadlessSpeech::Play(
    std::shared_ptr<const platform::SpeechSynthesisStream> stream,
    std::function<void(std::exception_ptr)> ended) {
    m_played.With([&](auto& played) { played.emplace_back(stream->Samples.begin(), stream->Samples.end()); });
    ended(nullptr);
    return std::make_unique<platform::Playback>();
}

}  // namespace headless
