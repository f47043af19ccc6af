#include "backends/headless/HeadlessSpeech.h"

#include <mutex>
#include <utility>

#include "platform/core/Exception.h"

namespace headless {

/// Stops its sound when it is destroyed.
class HeadlessSpeech::Playback final : public platform::Playback {
  public:
    explicit Playback(std::function<void()> stop) : m_stop(std::move(stop)) {}
    ~Playback() override { m_stop(); }
    Playback(const Playback&) = delete;
    Playback& operator=(const Playback&) = delete;

  private:
    std::function<void()> m_stop;
};

platform::SpeechSynthesisStream HeadlessSpeech::Synthesize(std::u16string_view text,
                                                           const platform::VoiceInformation& voice,
                                                           double rate) {
    m_spoken.With([&](auto& spoken) {
        spoken.push_back({.Text = std::u16string(text), .VoiceId = voice.Id, .Rate = rate});
    });
    platform::SpeechSynthesisStream stream;
    stream.SampleRate = 8000;
    stream.Samples.assign(text.begin(), text.end());
    return stream;
}

std::unique_ptr<platform::Playback> HeadlessSpeech::Play(
    std::shared_ptr<const platform::SpeechSynthesisStream> stream,
    std::function<void(std::exception_ptr failure)> ended) {
    const auto number = m_sounds.With([&](auto& sounds) {
        sounds.push_back({.Text = {stream->Samples.begin(), stream->Samples.end()}});
        return sounds.size() - 1;
    });
    struct Handler {
        /// Recursive: the handler may destroy the playback.
        std::recursive_mutex mutex;
        std::function<void(std::exception_ptr failure)> ended;
    };
    const auto handler = std::make_shared<Handler>();
    handler->ended = std::move(ended);
    // Only the first call counts. Under the lock, so that no handler runs once its playback is destroyed.
    const auto end = [this, number, handler](SoundState state) {
        const std::lock_guard lock(handler->mutex);
        const auto call = std::exchange(handler->ended, nullptr);
        if (!call) {
            return;
        }
        m_sounds.With([&](auto& sounds) { sounds[number].State = state; });
        if (state == SoundState::Ended) {
            call(nullptr);
        } else if (state == SoundState::Failed) {
            call(std::make_exception_ptr(
                platform::Exception(platform::result::kFail, u"The sound system cannot be used")));
        }
    };
    const auto last = [this, end] { end(m_hasSound ? SoundState::Ended : SoundState::Failed); };
    if (m_soundsLast) {
        m_ends.With([&](auto& ends) { ends.push_back(last); });
    } else {
        m_loop.Post(last);
    }
    return std::make_unique<Playback>([end] { end(SoundState::Stopped); });
}

void HeadlessSpeech::EndSounds() {
    for (const auto& end : m_ends.With([](auto& ends) { return std::exchange(ends, {}); })) {
        end();
    }
}

}  // namespace headless
