#include "daemon/machine/Values.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "platform/core/Text.h"

namespace daemon_service {

namespace {

/// Compared without regard to case; "#" stands for a row of digits.
constexpr std::u16string_view kPlaceholders[] = {
    u"to be filled by o.e.m.",
    u"to be filled by oem",
    u"tbd by oem",
    u"o.e.m.",
    u"oem",
    u"$(default_string)",
    u"default string",
    u"default string#",
    u"oem default string",
    u"oem default string#",
    u"default",
    u"system product name",
    u"system version",
    u"system serial number",
    u"system manufacturer",
    u"system sku",
    u"system sku#",
    u"product name",
    u"serial number",
    u"base board product name",
    u"base board version",
    u"base board manufacturer",
    u"base board serial number",
    u"chassis serial number",
    u"chassis version",
    u"type#sku#",
    u"type#productconfigid",
    u"type# - board manufacturer",
    u"type# - board product name",
    u"type# - board version",
    u"type# - board serial number",
    u"sku number",
    u"not specified",
    u"not applicable",
    u"not available",
    u"n/a",
    u"standard",
    u"sku",
    u"none",
    u"null",
    u"unknown",
    u"undefined",
    u"invalid",
    u"empty",
    u"0123456789",
    u"123456789",
    u"1234567890",
    u"00/00/0000",
};

constexpr std::u16string_view kSeparators[] = {u"<.^.>", u"(~!~)"};

/// Controls, line and paragraph separators, and marks that turn the direction of what follows them.
constexpr bool IsInvisible(char16_t unit) {
    return unit < 0x20 || (unit >= 0x7F && unit < 0xA0) || unit == 0xA0 ||
           (unit >= 0x200B && unit <= 0x200F) || (unit >= 0x2028 && unit <= 0x202E) ||
           (unit >= 0x2066 && unit <= 0x2069) || unit == 0xFEFF;
}

constexpr bool IsHigh(char16_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
constexpr bool IsLow(char16_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

constexpr char16_t Lowered(char16_t unit) {
    return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit;
}

constexpr bool IsDigit(char16_t unit) {
    return unit >= u'0' && unit <= u'9';
}

bool Matches(std::u16string_view text, std::u16string_view placeholder) {
    std::size_t at = 0;
    for (const char16_t wanted : placeholder) {
        const std::size_t before = at;
        while (wanted == u'#' && at < text.size() && IsDigit(text[at])) {
            ++at;
        }
        at += wanted != u'#' && at < text.size() && Lowered(text[at]) == wanted ? 1 : 0;
        if (at == before) {
            return false;
        }
    }
    return at == text.size();
}

void CollapseBlanks(std::u16string& text) {
    std::u16string out;
    for (const char16_t unit : text) {
        if (unit != u' ' || (!out.empty() && out.back() != u' ')) {
            out += unit;
        }
    }
    if (!out.empty() && out.back() == u' ') {
        out.pop_back();
    }
    text = std::move(out);
}

}  // namespace

std::u16string Clean(std::string_view bytes) {
    std::u16string text = platform::FromUtf8(bytes);
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (IsHigh(text[i]) && i + 1 < text.size() && IsLow(text[i + 1])) {
            ++i;
        } else if (IsHigh(text[i]) || IsLow(text[i]) || text[i] == 0xFFFD) {
            text[i] = u'?';
        } else if (IsInvisible(text[i])) {
            text[i] = u' ';
        }
    }
    CollapseBlanks(text);
    for (const std::u16string_view separator : kSeparators) {
        for (auto at = text.find(separator); at != std::u16string::npos; at = text.find(separator, at)) {
            text.replace(at, separator.size(), 1, u' ');
        }
    }
    CollapseBlanks(text);
    return text;
}

bool IsPlaceholder(std::u16string_view text) {
    // "00000000", "........" and the like: one filling character, however often.
    constexpr std::u16string_view kFilling = u"0xXfF.-_*#?";
    if (text.empty() || (kFilling.find(text[0]) != std::u16string_view::npos &&
                         text.find_first_not_of(text[0]) == std::u16string_view::npos)) {
        return true;
    }
    return std::ranges::any_of(
        kPlaceholders, [text](std::u16string_view placeholder) { return Matches(text, placeholder); });
}

std::optional<std::u16string> Value(std::string_view bytes) {
    std::u16string text = Clean(bytes);
    if (IsPlaceholder(text)) {
        return std::nullopt;
    }
    return text;
}

std::u16string Capped(std::u16string text, std::size_t limit) {
    if (text.size() <= limit) {
        return text;
    }
    std::size_t keep = limit - 1;
    if (keep > 0 && IsHigh(text[keep - 1])) {
        --keep;
    }
    text.resize(keep);
    return text + u'…';
}

std::optional<std::uint64_t> Number(std::string_view text, int base) {
    text = Trimmed(text);
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    if (error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return number;
}

}  // namespace daemon_service
