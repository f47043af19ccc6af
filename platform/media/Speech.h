#pragma once

#include <optional>

#include "platform/core/Event.h"
#include "platform/media/SpeechEngine.h"
#include "platform/tasks/task.h"

namespace platform {

struct SpeechSynthesizerOptions {
    /// 1 is the voice's usual speed, 0.5 half of it, which is the least.
    double SpeakingRate = 1;
};

/// Turns text into speech with one of the world's voices. One thread at a time.
class SpeechSynthesizer {
  public:
    /// All voices, the user's language first. Blocks while the list is read from the disk, so the
    /// user-interface thread is refused (0x8000000E).
    static std::vector<VoiceInformation> AllVoices();

    void Voice(VoiceInformation voice) { m_voice = std::move(voice); }

    SpeechSynthesizerOptions& Options() { return m_options; }

    /// Synthesizes on a worker. A serial number is spelled. The task fails with a platform exception when
    /// there is no voice or the text cannot be spoken.
    task<std::shared_ptr<const SpeechSynthesisStream>> SynthesizeTextToStreamAsync(std::u16string text) const;

  private:
    /// Nothing: the default voice, which is the first.
    std::optional<VoiceInformation> m_voice;
    SpeechSynthesizerOptions m_options;
};

/// Something to play.
class MediaSource {
  public:
    /// `contentType` is the stream's own.
    static std::shared_ptr<MediaSource> CreateFromStream(std::shared_ptr<const SpeechSynthesisStream> stream,
                                                         std::u16string_view contentType);

    const std::shared_ptr<const SpeechSynthesisStream>& Stream() const { return m_stream; }

  private:
    explicit MediaSource(std::shared_ptr<const SpeechSynthesisStream> stream) : m_stream(std::move(stream)) {}

    std::shared_ptr<const SpeechSynthesisStream> m_stream;
};

/// Plays one source. Destroying the player ends its playback; it must not be destroyed inside one of its own
/// events. One thread at a time.
class MediaPlayer {
  public:
    void Source(std::shared_ptr<MediaSource> source) { m_source = std::move(source); }

    /// Raised on any thread when the source has been played to its end.
    Event<>& MediaEnded() { return m_ended; }

    /// Raised on any thread when playing is not possible.
    Event<const Exception&>& MediaFailed() { return m_failed; }

    /// Starts and returns at once.
    void Play();

  private:
    std::shared_ptr<MediaSource> m_source;
    Event<> m_ended;
    Event<const Exception&> m_failed;
    /// Last, so that the events outlive the playback that raises them.
    std::unique_ptr<Playback> m_playback;
};

}  // namespace platform
