#include "platform/media/Speech.h"

#include "platform/core/Exception.h"
#include "platform/core/Provided.h"
#include "platform/core/UserInterfaceThread.h"

namespace platform {

std::vector<VoiceInformation> SpeechSynthesizer::AllVoices() {
    if (IsUserInterfaceThread()) {
        throw Exception(result::kIllegalMethodCall,
                        u"The list of voices is not read on the user-interface thread");
    }
    return Provided<SpeechEngine>::Current().Voices();
}

task<std::shared_ptr<const SpeechSynthesisStream>> SpeechSynthesizer::SynthesizeTextToStreamAsync(
    std::u16string text) const {
    return create_task([voice = m_voice, text = std::move(text), rate = m_options.SpeakingRate] {
        auto& engine = Provided<SpeechEngine>::Current();
        const auto voices = voice ? std::vector<VoiceInformation>{*voice} : engine.Voices();
        if (voices.empty()) {
            throw Exception(result::kFileNotFound, u"No voice is installed");
        }
        return std::shared_ptr<const SpeechSynthesisStream>(
            std::make_shared<SpeechSynthesisStream>(engine.Synthesize(text, voices.front(), rate)));
    });
}

std::shared_ptr<MediaSource> MediaSource::CreateFromStream(
    std::shared_ptr<const SpeechSynthesisStream> stream, std::u16string_view contentType) {
    if (contentType != stream->ContentType) {
        throw Exception(result::kInvalidArgument, u"The content type does not fit the stream");
    }
    return std::shared_ptr<MediaSource>(new MediaSource(std::move(stream)));
}

void MediaPlayer::Play() {
    if (!m_source) {
        throw Exception(result::kIllegalMethodCall, u"The player has no source");
    }
    m_playback =
        Provided<SpeechEngine>::Current().Play(m_source->Stream(), [this](std::exception_ptr failure) {
            try {
                if (failure) {
                    std::rethrow_exception(failure);
                }
                m_ended.Raise();
            } catch (...) {
                m_failed.Raise(CurrentException());
            }
        });
}

}  // namespace platform
