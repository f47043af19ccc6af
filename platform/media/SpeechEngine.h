#pragma once

#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

enum class VoiceGender { Male = 0, Female = 1 };

/// A voice that can speak.
struct VoiceInformation {
    /// What the engine knows the voice by.
    std::u16string Id;
    std::u16string DisplayName;
    /// BCP 47 tag.
    std::u16string Language;
    VoiceGender Gender = VoiceGender::Male;
    bool operator==(const VoiceInformation&) const = default;
};

/// Speech as sound: 16-bit samples, one channel.
struct SpeechSynthesisStream {
    std::u16string ContentType = u"audio/L16";
    std::uint32_t SampleRate = 0;
    std::vector<std::int16_t> Samples;
};

/// A sound that is being played. Destroying it ends the sound; it never blocks for longer than a moment.
class Playback {
  public:
    virtual ~Playback() = default;
};

/// A world's speech and sound.
class SpeechEngine {
  public:
    virtual ~SpeechEngine() = default;

    /// Worker. The default voice of the user's language first, then its female variants, then other voices;
    /// empty when nothing can speak. The first call reads the list: tens of milliseconds, more from a slow
    /// disk.
    virtual std::vector<VoiceInformation> Voices() = 0;

    /// Worker. Identifiers are spelled (see Spelling.h). `rate` is a share of the voice's usual speed. Throws
    /// a platform exception when the text cannot be spoken. An empty text gives no samples.
    virtual SpeechSynthesisStream Synthesize(std::u16string_view text, const VoiceInformation& voice,
                                             double rate) = 0;

    /// Any thread. Starts playing at once and returns; `ended` is called once, on any thread, when the sound
    /// has been heard to its end or has failed (then with a platform exception, null otherwise), and never
    /// after the playback has been destroyed.
    virtual std::unique_ptr<Playback> Play(std::shared_ptr<const SpeechSynthesisStream> stream,
                                           std::function<void(std::exception_ptr failure)> ended) = 0;
};

}  // namespace platform
