#include "backends/desktop/Synthesizer.h"

#include <algorithm>
#include <cmath>

#include "platform/core/Exception.h"
#include "platform/core/Text.h"
#include "platform/media/Spelling.h"

namespace desktop {

using platform::VoiceInformation;

namespace {

using Samples = SpeechLibrary::Samples;

constexpr std::size_t Milliseconds(std::size_t count, std::uint32_t sampleRate) {
    return count * sampleRate / 1000;
}

/// Whether a listener gets more than silence or a bare consonant, which is all that some voices have for a
/// digit or a letter. A name has a vowel, and so is loud for a while. The limits are measured: the shortest
/// names (Vietnamese "0" with a female variant, Latvian vowels) are loud for 40 ms, nearly all bare
/// consonants for less.
bool IsHeard(const Samples& samples, std::uint32_t sampleRate) {
    constexpr double kLoud = 1200;
    constexpr std::size_t kFrame = 10;
    constexpr std::size_t kShortest = 40;
    const auto frame = Milliseconds(kFrame, sampleRate);
    std::size_t loudTime = 0;
    for (std::size_t start = 0; start + frame <= samples.size(); start += frame) {
        double energy = 0;
        for (std::size_t i = start; i < start + frame; ++i) {
            energy += static_cast<double>(samples[i]) * samples[i];
        }
        loudTime += std::sqrt(energy / static_cast<double>(frame)) >= kLoud ? kFrame : 0;
    }
    return loudTime >= kShortest;
}

void Select(SpeechLibrary& library, const VoiceInformation& voice) {
    if (!library.SelectVoice(platform::ToValidUtf8(voice.Id))) {
        throw platform::Exception(platform::result::kInvalidArgument, u"There is no voice " + voice.Id);
    }
}

/// English names all ASCII characters. Returns false when that voice is not installed.
bool SelectEnglish(SpeechLibrary& library, const VoiceInformation& voice) {
    const auto variant = std::min(voice.Id.find(u'+'), voice.Id.size());
    return library.SelectVoice("en" + platform::ToValidUtf8(voice.Id.substr(variant)));
}

std::vector<SpokenCharacter> Spelled(SpeechLibrary& library, std::u16string_view identifier,
                                     const VoiceInformation& voice, double rate) {
    constexpr double kPause = 100;
    constexpr double kPauseAfterGroup = 350;
    const auto sampleRate = library.SampleRate();
    const auto silence = [&](double milliseconds) {
        return Milliseconds(static_cast<std::size_t>(milliseconds / rate), sampleRate);
    };
    std::vector<SpokenCharacter> spoken;
    Select(library, voice);
    for (const auto& group : platform::SpellingGroups(identifier)) {
        for (const auto character : group) {
            spoken.push_back({character, library.NameOf(character), silence(kPause)});
        }
        spoken.back().Pause = silence(kPauseAfterGroup);
    }
    spoken.back().Pause = 0;

    const auto isUnheard = [&](const SpokenCharacter& character) {
        return !IsHeard(character.Samples, sampleRate);
    };
    if (std::any_of(spoken.begin(), spoken.end(), isUnheard) && SelectEnglish(library, voice)) {
        for (auto& character : spoken) {
            if (isUnheard(character)) {
                character.Samples = library.NameOf(character.Character);
            }
        }
    }
    return spoken;
}

Samples ReadAsWords(SpeechLibrary& library, std::u16string_view text, const VoiceInformation& voice) {
    Select(library, voice);
    const auto digit = text.find_first_of(u"0123456789");
    if (digit != text.npos && !IsHeard(library.Read(text.substr(digit, 1)), library.SampleRate()) &&
        !SelectEnglish(library, voice)) {
        Select(library, voice);
    }
    return library.Read(text);
}

}  // namespace

Synthesizer::~Synthesizer() {
    m_ending.store(true);
    const std::lock_guard lock(m_mutex);
    m_library.reset();
}

SpeechLibrary& Synthesizer::Library() {
    if (m_ending.load()) {
        throw platform::Exception(platform::result::kClosed, u"The speech engine has been closed.");
    }
    if (!m_library) {
        m_library.emplace(m_ending);
        m_voices = m_library->Voices(m_language);
    }
    return *m_library;
}

std::vector<VoiceInformation> Synthesizer::Voices() {
    const std::lock_guard lock(m_mutex);
    try {
        Library();
    } catch (const platform::Exception&) {
        return {};
    }
    return m_voices;
}

std::vector<SpokenCharacter> Synthesizer::Spell(std::u16string_view identifier, const VoiceInformation& voice,
                                                double rate) {
    const std::lock_guard lock(m_mutex);
    Library().SetRate(rate);
    return Spelled(Library(), identifier, voice, rate);
}

platform::SpeechSynthesisStream Synthesizer::Synthesize(std::u16string_view text,
                                                        const VoiceInformation& voice, double rate) {
    const std::lock_guard lock(m_mutex);
    auto& library = Library();
    library.SetRate(rate);
    platform::SpeechSynthesisStream stream;
    stream.SampleRate = library.SampleRate();
    if (platform::IsIdentifier(text)) {
        for (const auto& character : Spelled(library, text, voice, rate)) {
            stream.Samples.insert(stream.Samples.end(), character.Samples.begin(), character.Samples.end());
            stream.Samples.resize(stream.Samples.size() + character.Pause);
        }
    } else if (!text.empty()) {
        stream.Samples = ReadAsWords(library, text, voice);
    }
    return stream;
}

}  // namespace desktop
