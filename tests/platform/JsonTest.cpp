#include "platform/data/JsonObject.h"

#include <gtest/gtest.h>

#include "platform/core/Text.h"

namespace platform {

namespace {

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

}  // namespace

}  // namespace platform
