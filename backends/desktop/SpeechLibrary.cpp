#include "backends/desktop/SpeechLibrary.h"

#include <espeak-ng/speak_lib.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>

#include "backends/desktop/Callback.h"
#include "backends/desktop/SharedLibrary.h"
#include "platform/core/Exception.h"
#include "platform/core/Text.h"

namespace desktop {

using platform::VoiceGender;
using platform::VoiceInformation;

namespace {

/// The functions of espeak-ng that are used. Throws a platform exception where it is not installed.
class EspeakFunctions {
    const SharedLibrary m_library{"libespeak-ng.so.1"};

  public:
    decltype(&espeak_Char) Char = m_library["espeak_Char"];
    decltype(&espeak_GetCurrentVoice) GetCurrentVoice = m_library["espeak_GetCurrentVoice"];
    decltype(&espeak_Initialize) Initialize = m_library["espeak_Initialize"];
    decltype(&espeak_ListVoices) ListVoices = m_library["espeak_ListVoices"];
    decltype(&espeak_SetParameter) SetParameter = m_library["espeak_SetParameter"];
    decltype(&espeak_SetSynthCallback) SetSynthCallback = m_library["espeak_SetSynthCallback"];
    decltype(&espeak_SetVoiceByName) SetVoiceByName = m_library["espeak_SetVoiceByName"];
    decltype(&espeak_SetVoiceByProperties) SetVoiceByProperties = m_library["espeak_SetVoiceByProperties"];
    decltype(&espeak_Synth) Synth = m_library["espeak_Synth"];
    decltype(&espeak_Terminate) Terminate = m_library["espeak_Terminate"];
};

const EspeakFunctions& Espeak() {
    static const EspeakFunctions library;
    return library;
}

constexpr unsigned char kFemale = 2;

/// Samples of what is being spoken on this thread; the library's callback gets no pointer of ours.
struct Recording {
    SpeechLibrary::Samples samples;
    const std::atomic<bool>& ending;
};
thread_local Recording* t_recording = nullptr;

constexpr auto TakeSamples = [](short* samples, int count, espeak_EVENT*) {
    constexpr int kContinue = 0;
    constexpr int kBreakOff = 1;
    if (samples != nullptr) {
        t_recording->samples.insert(t_recording->samples.end(), samples, samples + count);
    }
    return t_recording->ending.load() ? kBreakOff : kContinue;
};

/// A voice of the library: a file name ("gmw/en-US"), and a variant of its sound ("f2") if it has one.
struct VoiceName {
    std::string file;
    std::string variant;
};

/// The library's choice of a female voice for the language; its file is the language's default voice.
VoiceName ChooseVoice(std::string language) {
    std::transform(language.begin(), language.end(), language.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    for (const auto& wish : {language, language.substr(0, language.find('-')), std::string("en")}) {
        espeak_VOICE properties{};
        properties.languages = wish.c_str();
        properties.gender = kFemale;
        if (Espeak().SetVoiceByProperties(&properties) == EE_OK) {
            break;
        }
    }
    const auto* const voice = Espeak().GetCurrentVoice();
    if (voice == nullptr || voice->identifier == nullptr) {
        return {};
    }
    const std::string identifier = voice->identifier;
    const auto plus = identifier.find('+');
    return {identifier.substr(0, plus), plus == std::string::npos ? "" : identifier.substr(plus + 1)};
}

/// The first of the languages that a voice is for; the list holds a priority byte before each.
std::string LanguageOf(const espeak_VOICE& voice) {
    return voice.languages != nullptr && *voice.languages != 0 ? voice.languages + 1 : "";
}

std::vector<VoiceInformation> ReadVoices(const VoiceName& chosen) {
    std::vector<VoiceInformation> voices;
    for (const auto** voice = Espeak().ListVoices(nullptr); *voice != nullptr; ++voice) {
        voices.push_back({.Id = platform::FromUtf8((*voice)->identifier),
                          .DisplayName = platform::FromUtf8((*voice)->name),
                          .Language = platform::FromUtf8(LanguageOf(**voice)),
                          .Gender = (*voice)->gender == kFemale ? VoiceGender::Female : VoiceGender::Male});
    }
    // The user's default voice first, then the rest of the language.
    const auto byDefault = std::find_if(voices.begin(), voices.end(), [&](const VoiceInformation& voice) {
        return voice.Id == platform::FromUtf8(chosen.file);
    });
    if (byDefault == voices.end()) {
        return voices;
    }
    const VoiceInformation first = *byDefault;
    voices.erase(byDefault);
    const auto prefix = first.Language.substr(0, first.Language.find(u'-'));
    std::stable_partition(voices.begin(), voices.end(), [&](const VoiceInformation& voice) {
        return voice.Language.substr(0, voice.Language.find(u'-')) == prefix;
    });

    // The language's own voices are male; the library makes female ones of them by variants.
    std::vector<VoiceInformation> female;
    espeak_VOICE variants{};
    variants.languages = "variant";
    for (const auto** variant = Espeak().ListVoices(&variants); *variant != nullptr; ++variant) {
        const std::string_view file = (*variant)->identifier;
        const auto name = file.substr(file.rfind('/') + 1);
        if ((*variant)->gender == kFemale) {
            female.push_back({.Id = first.Id + u"+" + platform::FromUtf8(name),
                              .DisplayName = first.DisplayName + u", " + platform::FromUtf8((*variant)->name),
                              .Language = first.Language,
                              .Gender = VoiceGender::Female});
        }
    }
    std::stable_partition(female.begin(), female.end(), [&](const VoiceInformation& voice) {
        return voice.Id == first.Id + u"+" + platform::FromUtf8(chosen.variant);
    });
    voices.insert(voices.begin(), female.begin(), female.end());
    voices.insert(voices.begin(), first);
    return voices;
}

SpeechLibrary::Samples WithoutSilenceAround(SpeechLibrary::Samples samples) {
    const auto sounds = [](std::int16_t sample) {
        constexpr int kQuietest = 50;
        return std::abs(sample) >= kQuietest;
    };
    samples.erase(std::find_if(samples.rbegin(), samples.rend(), sounds).base(), samples.end());
    samples.erase(samples.begin(), std::find_if(samples.begin(), samples.end(), sounds));
    return samples;
}

}  // namespace

SpeechLibrary::SpeechLibrary(const std::atomic<bool>& ending) : m_ending(ending) {
    const int sampleRate =
        Espeak().Initialize(AUDIO_OUTPUT_SYNCHRONOUS, 0, nullptr, espeakINITIALIZE_DONT_EXIT);
    if (sampleRate <= 0) {
        throw platform::Exception(platform::result::kFail,
                                  u"There is no speech data (package espeak-ng-data).");
    }
    m_sampleRate = static_cast<std::uint32_t>(sampleRate);
    Espeak().SetSynthCallback(Callback(TakeSamples));
}

SpeechLibrary::~SpeechLibrary() {
    Espeak().Terminate();
}

std::vector<VoiceInformation> SpeechLibrary::Voices(const std::u16string& language) {
    return ReadVoices(ChooseVoice(platform::ToValidUtf8(language)));
}

bool SpeechLibrary::SelectVoice(const std::string& name) {
    return Espeak().SetVoiceByName(name.c_str()) == EE_OK;
}

void SpeechLibrary::SetRate(double rate) {
    Espeak().SetParameter(espeakRATE, static_cast<int>(espeakRATE_NORMAL * rate), 0);
}

template <typename Speak>
SpeechLibrary::Samples SpeechLibrary::Record(Speak speak) {
    Recording recording{.samples = {}, .ending = m_ending};
    t_recording = &recording;
    const auto result = speak();
    t_recording = nullptr;
    if (result != EE_OK) {
        throw platform::Exception(platform::result::kFail, u"The text cannot be spoken.");
    }
    return std::move(recording.samples);
}

SpeechLibrary::Samples SpeechLibrary::Read(std::u16string_view text) {
    const auto bytes = platform::ToValidUtf8(text);
    return Record([&] {
        return Espeak().Synth(bytes.c_str(), bytes.size() + 1, 0, POS_CHARACTER, 0, espeakCHARS_UTF8, nullptr,
                              nullptr);
    });
}

SpeechLibrary::Samples SpeechLibrary::NameOf(char32_t character) {
    // Of an upper-case letter the library also says that it is one ("capital b").
    const bool isUpperCase = character >= U'A' && character <= U'Z';
    const auto named = static_cast<wchar_t>(isUpperCase ? character - U'A' + U'a' : character);
    return WithoutSilenceAround(Record([named] { return Espeak().Char(named); }));
}

}  // namespace desktop
