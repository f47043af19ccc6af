#include <gtest/gtest.h>

#include "platform/core/Text.h"
#include "platform/core/Uri.h"
#include "platform/data/JsonObject.h"
#include "platform/media/Spelling.h"
#include "platform/resources/UserEnvironment.h"
#include "tests/support/Golden.h"

namespace platform {

namespace {

TEST(Text, TakesOnesAndPairsAndPathsOfAnyBytes) {
    EXPECT_EQ(ToUtf8(u"\U0001F600"), "\xF0\x9F\x98\x80");
    EXPECT_EQ(ToValidUtf8(std::u16string{0xD800, u'x'}), "\xEF\xBF\xBDx");
    EXPECT_EQ(FromPathBytes("/caf\xC3\xA9"), u"/caf\u00E9");
    // What a path may hold too: any byte, and the encoding of a surrogate.
    const std::string bytes = "/\xED\xA0\x80\xED\xB2\x80/\xEF\xBF\xBD\xE2\x82\xFF\x80";
    EXPECT_EQ(ToPathBytes(FromPathBytes(bytes)), bytes);
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

std::u16string Nested(int depth) {
    return u"{\"a\":" + std::u16string(depth - 1, u'[') + std::u16string(depth - 1, u']') + u"}";
}

TEST(Json, ReadsAndWritesTextOrRefusesIt) {
    const std::u16string longest =
        u"{\"a\":\"" + std::u16string(JsonObject::kMaxCharacters - 8, u'x') + u"\"}";
    const std::pair<std::u16string, std::u16string> rows[] = {
        {u" {\"b\" : [1, -2.5, 9007199254740992, 1e300, true, null, {}], \"a\": \"\\u00e9\\n\" } ",
         u"{\"b\":[1,-2.5,9007199254740992,1e+300,true,null,{}],\"a\":\"\u00E9\\n\"}"},
        {u"{\"a\":1,\"a\":2}", u"{\"a\":2}"},
        {u"{\"\u009B\\u202e\\u0000\":\"\\\"\\\\\"}", u"{\"\\u009B\\u202E\\u0000\":\"\\\"\\\\\"}"},
        {std::u16string(u"{\"a\":\"") + char16_t(0xD800) + u"\"}", u"{\"a\":\"\uFFFD\"}"},
        {longest, longest},
        {longest + u" ", u""},
        {Nested(JsonObject::kMaxDepth), Nested(JsonObject::kMaxDepth)},
        {Nested(JsonObject::kMaxDepth + 1), u""},
        {std::u16string(60'000, u'['), u""},
        {u"{\"a\":1e999}", u""},
        {u"{\"a\":\"\\ud800\"}", u""},
        {u"{\"a\":1}x", u""},
        {u"{\"a\"", u""},
        {u"[]", u""},
        {u"", u""},
    };
    for (const auto& [text, expected] : rows) {
        std::u16string written;
        try {
            written = JsonObject::Parse(text).Stringify();
        } catch (const Exception& exception) {
            EXPECT_EQ(exception.Code(), result::kInvalidJson);
        }
        EXPECT_EQ(written, expected) << ToUtf8(text).substr(0, 80);
    }
}

TEST(Spelling, TakesOneWordWithADigitOrWithoutAVowelForAnIdentifierAndGroupsItEvenly) {
    tests::ExpectScripts("platform/spelling", [] {
        return [](const std::string& quoted) {
            const auto text = FromUtf8(quoted.substr(1, quoted.size() - 2));
            return (IsIdentifier(text) ? testing::PrintToString(SpellingGroups(text)) : "words") + "\n";
        };
    });
}

}  // namespace

}  // namespace platform
