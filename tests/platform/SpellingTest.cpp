#include <gtest/gtest.h>

#include "platform/media/Spelling.h"

namespace platform {

namespace {

TEST(Spelling, TakesOneWordWithADigitOrWithoutAVowelForAnIdentifier) {
    for (const auto* identifier : {u"PF3ABC12", u"0000001", u"MXL-9460/QWE", u"A1", u"7", u"XYZ", u"-",
                                   u" 5CD12 ", u"ÄÖ3", u"\U0001F600\u0031"}) {
        EXPECT_TRUE(IsIdentifier(identifier)) << testing::PrintToString(std::u16string(identifier));
    }
    for (const auto* words : {u"", u"  ", u"None", u"N/A", u"System Serial Number", u"VMware-56 4d", u"12 34",
                              u"X Y", u"מספר", u"Číslo", u"1\u00A0\u0032"}) {
        EXPECT_FALSE(IsIdentifier(words)) << testing::PrintToString(std::u16string(words));
    }
}

TEST(Spelling, GroupsCharactersEvenlyByThreeOrFour) {
    using Groups = std::vector<std::u32string>;
    const std::pair<const char16_t*, Groups> cases[] = {
        {u"7", {U"7"}},
        {u"AB12", {U"AB12"}},
        {u"AB123", {U"AB1", U"23"}},
        {u"AB1234", {U"AB1", U"234"}},
        {u"0000001", {U"0000", U"001"}},
        {u"PF3ABC12", {U"PF3A", U"BC12"}},
        {u"ABC123DEF", {U"ABC", U"123", U"DEF"}},
        {u" SN-12-AB_7\t", {U"SN-1", U"2-A", U"B_7"}},
        {u"C02ZK0ABMD6M9", {U"C02Z", U"K0A", U"BMD", U"6M9"}},
        {u"\U0001F600\u0031", {U"\U0001F6001"}},
    };
    for (const auto& [identifier, groups] : cases) {
        EXPECT_EQ(SpellingGroups(identifier), groups) << testing::PrintToString(std::u16string(identifier));
    }
}

}  // namespace

}  // namespace platform
