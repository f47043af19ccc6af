#include <gtest/gtest.h>

#include "platform/core/Text.h"
#include "platform/core/Uri.h"
#include "platform/resources/UserEnvironment.h"

namespace platform {

namespace {

TEST(Text, SurvivesTheWayToUtf8AndBack) {
    std::u16string everyUnit;
    for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
        everyUnit += static_cast<char16_t>(unit);
    }
    // Only the step from the last high to the first low surrogate makes a pair.
    EXPECT_EQ(FromUtf8(ToUtf8(everyUnit)), everyUnit);
    // A path may hold any byte, and the encoding of a surrogate.
    std::string bytes = "/caf\xC3\xA9\xF0\x9F\x98\x80/\xED\xA0\x80\xED\xB2\x80/\xEF\xBF\xBD\xE2\x82";
    for (int byte = 0xFF; byte >= 0x80; --byte) {
        bytes += static_cast<char>(byte);
    }
    EXPECT_EQ(ToPathBytes(FromPathBytes(bytes)), bytes);
    EXPECT_EQ(FromPathBytes("/caf\xC3\xA9"), u"/caf\u00E9");
    EXPECT_EQ(ToUtf8(u"\U0001F600"), "\xF0\x9F\x98\x80");
    EXPECT_EQ(ToValidUtf8(std::u16string{0xD800, u'x'}), "\xEF\xBF\xBDx");
}

TEST(Text, ReplacesWhatIsNoUtf8ByteByByte) {
    EXPECT_EQ(FromUtf8("a\xFFz"), u"a\uFFFDz");
    EXPECT_EQ(FromUtf8("\xC0\x80"), u"\uFFFD\uFFFD") << "overlong";
    EXPECT_EQ(FromUtf8("\xF4\x90\x80\x80").size(), 4U) << "beyond Unicode";
    EXPECT_EQ(FromUtf8("x\xE2\x82"), u"x\uFFFD\uFFFD") << "cut short";
}

TEST(Text, ShowsOnATerminalWhatWouldSteerIt) {
    EXPECT_EQ(ToVisible("caf\xC3\xA9 \xF0\x9F\x98\x80 "
                        "\\n\n\r\t\x1B\x7F\xC2\x9B\xD8\x9C\xE2\x80\x8F\xE2\x80\xA8\xE2\x80\xAE"
                        "\xE2\x81\xA6\xFF\xED\xA0\x80"),
              "caf\xC3\xA9 \xF0\x9F\x98\x80 "
              "\\\\n\\n\\r\\t\\u001B\\u007F\\u009B\\u061C\\u200F\\u2028\\u202E\\u2066\\xFF"
              "\\uD800");
}

TEST(Text, CopiesTheWholeTextWithItsZeroOrNothing) {
    char16_t buffer[] = u"????";
    EXPECT_TRUE(CopyText(buffer, 4, u"abc"));
    EXPECT_EQ(std::u16string(buffer), u"abc");
    EXPECT_FALSE(CopyText(buffer, 3, u"abc"));
    EXPECT_EQ(buffer[0], 0);
    EXPECT_EQ(buffer[1], u'b') << "nothing of the text may be copied";
    buffer[0] = u'?';
    EXPECT_FALSE(CopyText(buffer, 0, u""));
    EXPECT_FALSE(CopyText(buffer, -1, u""));
    EXPECT_EQ(buffer[0], u'?') << "without room nothing may be touched";
}

TEST(Uri, CutsSchemeAndQuery) {
    EXPECT_EQ(Uri::Parse(u"KELVANE:?x=1")->SchemeName(), u"kelvane");
    EXPECT_EQ(Uri::Parse(u"kelvane:?x=1&y=a%20b#z")->Query(), u"?x=1&y=a%20b");
    EXPECT_EQ(Uri::Parse(u"kelvane:")->Query(), u"");
    EXPECT_FALSE(Uri::Parse(u"a word"));
    EXPECT_FALSE(Uri::Parse(u"1x:y"));
    EXPECT_FALSE(Uri::Parse(u":y"));
}

TEST(Environment, TakesLanguagesFromTheVariablesThatCount) {
    unsetenv("LC_ALL");
    unsetenv("LC_MESSAGES");
    setenv("LANG", "de_CH.UTF-8@euro", 1);
    setenv("LANGUAGE", "fr:de", 1);
    EXPECT_EQ(LanguagesFromEnvironment(), (std::vector<std::u16string>{u"fr", u"de", u"de-CH"}));
    setenv("LC_ALL", "C.UTF-8", 1);
    EXPECT_EQ(LanguagesFromEnvironment(), std::vector<std::u16string>{u"en-US"})
        << "LANGUAGE does not count in the C locale";
}

}  // namespace

}  // namespace platform
