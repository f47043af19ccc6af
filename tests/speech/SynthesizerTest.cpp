#include <espeak-ng/speak_lib.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <map>
#include <set>

#include "backends/desktop/Synthesizer.h"
#include "platform/core/Exception.h"
#include "platform/core/Text.h"

namespace desktop {

namespace {

using platform::VoiceInformation;
using Samples = std::vector<std::int16_t>;

/// What the library says, a clause at a time, as it reports it itself.
std::vector<std::string> g_clauses;

/// The clauses that a call speaks, in the library's phonemes without stress, pauses and marks of language.
template <typename Speak>
std::vector<std::string> Clauses(Speak speak) {
    g_clauses.clear();
    espeak_SetPhonemeCallback([](const char* phonemes) {
        std::string clause;
        for (const char* c = phonemes; *c != 0; ++c) {
            if (*c == '(') {
                c = std::strchr(c, ')');
            } else if (std::strchr("_:' ,|!", *c) == nullptr) {
                clause += *c;
            }
        }
        g_clauses.push_back(clause);
        return 0;
    });
    speak();
    espeak_SetPhonemeCallback(nullptr);
    return g_clauses;
}

constexpr std::size_t kSamplesPerMillisecond = 22;

/// Milliseconds during which a sound is louder than a whisper.
std::size_t AudibleTime(const Samples& samples) {
    constexpr std::ptrdiff_t kWindow = 10 * kSamplesPerMillisecond;
    std::size_t time = 0;
    for (auto rest = samples.begin(); samples.end() - rest >= kWindow; rest += kWindow) {
        const bool isAudible =
            std::any_of(rest, rest + kWindow, [](int sample) { return std::abs(sample) > 1500; });
        time += isAudible ? 10 : 0;
    }
    return time;
}

/// Milliseconds of the runs of zeros that are 100 or longer.
std::vector<std::size_t> Pauses(const Samples& samples) {
    std::vector<std::size_t> pauses;
    for (auto rest = samples.begin(); rest != samples.end();) {
        const auto zero = std::find(rest, samples.end(), 0);
        rest = std::find_if(zero, samples.end(), [](int sample) { return sample != 0; });
        const auto time = static_cast<std::size_t>(rest - zero) / kSamplesPerMillisecond;
        if (time >= 100) {
            pauses.push_back(time);
        }
    }
    return pauses;
}

/// One for all tests: the library can be opened once in a process. The user's language is Hebrew.
Synthesizer& Speech() {
    static Synthesizer synthesizer(u"he-IL");
    return synthesizer;
}

VoiceInformation Voice(const char16_t* id) {
    VoiceInformation voice;
    voice.Id = id;
    return voice;
}

TEST(Synthesizer, NamesEachCharacterInItsLanguageOrElseInEnglish) {
    using Names = std::vector<std::string>;
    const std::tuple<const char16_t*, const char16_t*, Names> cases[] = {
        {u"gmw/en-US+f2", u"PF3ABC12", {"pi", "Ef", "Tri", "eI", "bi", "si", "wVn", "tu"}},
        {u"gmw/de+f2", u"5CD-1", {"fynf", "tse", "de", "bInd@strIC", "aIns"}},
        {u"zle/ru+f2", u"00A_", {"nojl", "nojl", "eI", "pVdtS;8rk"}},
        {u"sem/he+f2", u"PF3ABC12", {"pi", "Ef", "Tri", "eI", "bi", "si", "w0n", "tu"}},
        // This voice has a bare consonant for a name; its letter is said again.
        {u"sit/yue-Latn-jyutping+f2", u"K7", {"k", "ca1t", "keI"}},
        // Words are read as they are, after a digit has been tried; Hebrew has none.
        {u"gmw/en-US+f2", u"Serial 12", {"wVn", "si@3ri;@LtwElv"}},
        {u"sem/he+f2", u"a 12", {"", "a#twElv"}},
    };
    for (const auto& each : cases) {
        const auto speak = [&each] { Speech().Synthesize(std::get<1>(each), Voice(std::get<0>(each))); };
        EXPECT_EQ(Clauses(speak), std::get<2>(each));
    }
}

TEST(Synthesizer, LetsEachCharacterBeHeardOnceInAllLanguages) {
    std::set<std::u16string> languages;
    for (const auto& [id, name, language, gender] : Speech().Voices()) {
        if (id.find(u'+') != id.npos || !languages.insert(language).second) {
            continue;
        }
        SCOPED_TRACE(platform::ToUtf8(id));
        const auto voice = Voice((id + u"+f2").c_str());
        std::map<char32_t, std::string> names;
        for (const auto text :
             {u"PF3ABC12", u"5CD1234XYZ", u"0000001", u"MXL9460QWE", u"C02ZK0ABMD6M", u"SN-12-AB_7"}) {
            std::vector<SpokenCharacter> spoken;
            const auto clauses = Clauses([&] { spoken = Speech().Spell(text, voice); });
            std::u32string characters;
            for (const auto& [character, samples, pause] : spoken) {
                EXPECT_GE(AudibleTime(samples), 40U) << platform::ToUtf8(text) << " at " << characters.size();
                characters += character;
                // A number read as a whole has one clause for its digits.
                ASSERT_LE(characters.size(), clauses.size());
                const auto& clause = clauses[characters.size() - 1];
                EXPECT_EQ(names.try_emplace(character, clause).first->second, clause);
            }
            EXPECT_EQ(characters, platform::ToUtf32(text));
        }
        std::set<std::string> digits;
        for (const auto digit : std::u32string_view(U"012345679")) {
            digits.insert(names.at(digit));
        }
        EXPECT_EQ(digits.size(), 9U);

        // Some names hold a pause of their own.
        EXPECT_GE(Pauses(Speech().Synthesize(u"C02ZK0ABMD6M", voice).Samples).size(), 11U);
    }
    EXPECT_GT(languages.size(), 100U);
}

TEST(Synthesizer, PausesAfterEachCharacterAndLongerAfterAGroup) {
    const auto heard = Speech().Synthesize(u"5CD1234XYZ", Voice(u"gmw/en-US+f2"));
    EXPECT_EQ(heard.SampleRate, 22050U);
    EXPECT_THAT(Pauses(heard.Samples), testing::ElementsAre(100, 100, 100, 350, 100, 100, 350, 100, 100));
    EXPECT_GT(AudibleTime(heard.Samples), 10 * 100U);
    // Slowly, in names and pauses alike; the next text is as fast as ever.
    const auto slow = Speech().Synthesize(u"5CD1234XYZ", Voice(u"gmw/en-US+f2"), 0.5).Samples;
    const auto group = testing::AllOf(testing::Ge(700U), testing::Le(702U));
    EXPECT_THAT(Pauses(slow), testing::ElementsAre(200, 200, 200, group, 200, 200, group, 200, 200));
    EXPECT_GT(AudibleTime(slow), AudibleTime(heard.Samples) * 3 / 2);
    EXPECT_EQ(Pauses(Speech().Synthesize(u"5CD1234XYZ", Voice(u"gmw/en-US+f2")).Samples),
              Pauses(heard.Samples));
}

TEST(Synthesizer, ListsTheLanguageThenItsFemaleVariants) {
    const auto voices = Speech().Voices();
    ASSERT_GT(voices.size(), 2U);
    EXPECT_EQ(voices[0].Id, u"sem/he");
    EXPECT_EQ(voices[1].Id, u"sem/he+f2");
    EXPECT_EQ(voices[1].Gender, platform::VoiceGender::Female);
    EXPECT_EQ(voices[1].Language, u"he");
}

}  // namespace

}  // namespace desktop
