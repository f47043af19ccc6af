// What every decoder does with texts: any bytes as UTF-8, as a path, as lines, as an identifier to spell.

#include <algorithm>
#include <cstring>
#include <numeric>

#include "fuzz/Target.h"
#include "platform/core/Lines.h"
#include "platform/core/Text.h"
#include "platform/data/JsonObject.h"
#include "platform/media/Spelling.h"

using namespace platform;

namespace {

bool Steers(std::string_view utf8) {
    return std::ranges::any_of(ToUtf32(FromUtf8(utf8)), SteersTerminal);
}

void CheckEncodings(std::string_view bytes) {
    const auto text = FromUtf8(bytes);
    fuzz::Require(FromUtf8(ToUtf8(text)) == text);
    fuzz::Require(ToPathBytes(FromPathBytes(bytes)) == bytes);
    fuzz::Require(ToUtf32(FromUtf8(ToValidUtf8(text))) == ToUtf32(text));
    const auto visible = ToVisible(bytes);
    fuzz::Require(!Steers(visible) && visible.size() >= bytes.size());
    const auto json = ToJson(text);
    fuzz::Require(!Steers(json));
    if (json.size() < JsonObject::kMaxCharacters) {
        const auto read = JsonObject::Parse(u"{\"a\":" + FromUtf8(json) + u"}");
        fuzz::Require(read.GetNamedString(u"a") == FromUtf8(ToValidUtf8(text)));
    }
    // As the bytes are: any units, lone surrogates too.
    std::u16string units(bytes.size() / 2, u'\0');
    std::memcpy(units.data(), bytes.data(), units.size() * 2);
    fuzz::Require(FromUtf8(ToUtf8(units)) == units);
}

void CheckLines(std::string_view bytes) {
    const auto lines = Lines(bytes);
    const auto length =
        std::accumulate(lines.begin(), lines.end(), lines.size(),
                        [](std::size_t sum, std::string_view line) { return sum + line.size(); });
    fuzz::Require(length == bytes.size() || length == bytes.size() + 1);
    const auto first = lines.empty() ? std::nullopt : CutLine(lines.front(), '=');
    if (first) {
        fuzz::Require(Trimmed(first->Value) == first->Value);
        fuzz::Require(LineValue(bytes, first->Key, '=') == first->Value);
        fuzz::Require(LastLineValue(bytes, first->Key, '=').has_value());
    }
}

void CheckSpelling(std::u16string_view text) {
    std::size_t spelled = 0;
    for (const auto& group : SpellingGroups(text)) {
        fuzz::Require(!group.empty() && group.size() <= 4);
        spelled += group.size();
    }
    fuzz::Require(spelled <= text.size() && (!IsIdentifier(text) || spelled > 0));
}

}  // namespace

void fuzz::Run(std::string_view input) {
    CheckEncodings(input);
    CheckLines(input);
    CheckSpelling(FromUtf8(input));
}

std::vector<std::string> fuzz::Seeds() {
    return {"text",
            " key = value \r\nkey=\n",
            "5CG1234XYZ",
            "\xC3\xA9\xE2\x80\xAE\xF0\x9F\x98\x80\xED\xA0\x80",
            "\xC0\x80\xE0\x80\x80\xF4\x90\x80\x80\xE2\x80",
            "\xED\xB2\x80\xFF\\\x1B[31m\x85\"\xE2\x81\xA6"};
}
