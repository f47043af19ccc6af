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

/// What is made of the text; nothing when it is no object.
std::u16string Rewritten(std::u16string_view text) {
    try {
        return JsonObject::Parse(text).Stringify();
    } catch (const Exception& exception) {
        EXPECT_EQ(exception.Code(), result::kInvalidJson);
        return u"";
    }
}

TEST(Json, IsReadUpToItsLimits) {
    const auto longest = u"{\"a\":\"" + std::u16string(JsonObject::kMaxCharacters - 8, u'x') + u"\"}";
    EXPECT_EQ(Rewritten(longest), longest);
    EXPECT_EQ(Rewritten(longest + u" "), u"");
    const auto nested = [](std::size_t depth) {
        return u"{\"a\":" + std::u16string(depth, u'[') + std::u16string(depth, u']') + u"}";
    };
    EXPECT_EQ(Rewritten(nested(JsonObject::kMaxDepth - 1)), nested(JsonObject::kMaxDepth - 1));
    EXPECT_EQ(Rewritten(nested(JsonObject::kMaxDepth)), u"");
    EXPECT_EQ(Rewritten(u""), u"");
    EXPECT_EQ(Rewritten(std::u16string(60'000, u'[')), u"");
    EXPECT_EQ(Rewritten(std::u16string(u"{\"a\":\"") + char16_t(0xD800) + u"\"}"), u"{\"a\":\"\uFFFD\"}");
}

TEST(Text, IsTakenForJsonAUriAndAnIdentifierAsItsScriptsSay) {
    tests::ExpectScripts("platform/texts", [] {
        return [](const std::string& line) -> std::string {
            auto text = FromUtf8(line.substr(line.find(' ') + 1));
            if (line.starts_with("json ")) {
                return (text = Rewritten(text)).empty() ? "refused\n" : ToUtf8(text) + "\n";
            }
            if (line.starts_with("uri ")) {
                const auto uri = Uri::Parse(text);
                return uri ? ToUtf8(uri->SchemeName()) + " query \"" + ToUtf8(uri->Query()) + "\"\n"
                           : "no URI\n";
            }
            const auto spelled = text.substr(1, text.size() - 2);
            return (IsIdentifier(spelled) ? testing::PrintToString(SpellingGroups(spelled)) : "words") + "\n";
        };
    });
}

}  // namespace

}  // namespace platform
