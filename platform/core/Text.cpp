#include "platform/core/Text.h"

#include <charconv>
#include <cstdio>

namespace platform {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

constexpr bool IsHighSurrogate(char32_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
constexpr bool IsLowSurrogate(char32_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}
constexpr bool IsSurrogate(char32_t unit) {
    return unit >= 0xD800 && unit <= 0xDFFF;
}

void AppendUtf8(std::string& out, char32_t point) {
    if (point < 0x80) {
        out += static_cast<char>(point);
    } else if (point < 0x800) {
        out += static_cast<char>(0xC0 | (point >> 6));
        out += static_cast<char>(0x80 | (point & 0x3F));
    } else if (point < 0x10000) {
        out += static_cast<char>(0xE0 | (point >> 12));
        out += static_cast<char>(0x80 | ((point >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (point & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (point >> 18));
        out += static_cast<char>(0x80 | ((point >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((point >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (point & 0x3F));
    }
}

/// Calls `use` with each code point; a lone surrogate counts as one.
template <typename Use>
void ForEachPoint(std::u16string_view text, Use use) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t point = text[i];
        if (IsHighSurrogate(point) && i + 1 < text.size() && IsLowSurrogate(text[i + 1])) {
            point = 0x10000 + ((point - 0xD800) << 10) + (char32_t{text[++i]} - 0xDC00);
        }
        use(point);
    }
}

constexpr char32_t WithoutSurrogate(char32_t point) {
    return IsSurrogate(point) ? kReplacement : point;
}

struct Decoded {
    char32_t point;
    std::size_t length;
};

/// Decodes the sequence at the start of `bytes`, which is not empty.
Decoded DecodeOne(std::string_view bytes) {
    const auto lead = static_cast<unsigned char>(bytes[0]);
    if (lead < 0x80) {
        return {lead, 1};
    }
    std::size_t length = 0;
    char32_t smallest = 0;
    char32_t point = 0;
    if ((lead & 0xE0) == 0xC0) {
        length = 2, smallest = 0x80, point = lead & 0x1FU;
    } else if ((lead & 0xF0) == 0xE0) {
        length = 3, smallest = 0x800, point = lead & 0x0FU;
    } else if ((lead & 0xF8) == 0xF0) {
        length = 4, smallest = 0x10000, point = lead & 0x07U;
    } else {
        return {kReplacement, 1};
    }
    if (bytes.size() < length) {
        return {kReplacement, 1};
    }
    for (std::size_t i = 1; i < length; ++i) {
        const auto next = static_cast<unsigned char>(bytes[i]);
        if ((next & 0xC0) != 0x80) {
            return {kReplacement, 1};
        }
        point = (point << 6) | (next & 0x3FU);
    }
    if (point < smallest || point > 0x10FFFF) {
        return {kReplacement, 1};
    }
    return {point, length};
}

template <typename Integer>
std::u16string Decimal(Integer value) {
    char digits[24];
    const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    return {digits, end};
}

}  // namespace

std::string ToUtf8(std::u16string_view text) {
    std::string out;
    out.reserve(text.size());
    ForEachPoint(text, [&](char32_t point) { AppendUtf8(out, point); });
    return out;
}

std::string ToValidUtf8(std::u16string_view text) {
    std::string out;
    out.reserve(text.size());
    ForEachPoint(text, [&](char32_t point) { AppendUtf8(out, WithoutSurrogate(point)); });
    return out;
}

std::u32string ToUtf32(std::u16string_view text) {
    std::u32string out;
    ForEachPoint(text, [&](char32_t point) { out += WithoutSurrogate(point); });
    return out;
}

std::u16string FromUtf8(std::string_view text) {
    std::u16string out;
    out.reserve(text.size());
    while (!text.empty()) {
        const auto [point, length] = DecodeOne(text);
        text.remove_prefix(length);
        if (point < 0x10000) {
            out += static_cast<char16_t>(point);
        } else {
            out += static_cast<char16_t>(0xD800 + ((point - 0x10000) >> 10));
            out += static_cast<char16_t>(0xDC00 + ((point - 0x10000) & 0x3FF));
        }
    }
    return out;
}

std::string ToJson(std::u16string_view text) {
    std::string json = "\"";
    for (const char c : ToValidUtf8(text)) {
        if (c == '"' || c == '\\') {
            json += '\\';
            json += c;
        } else if (static_cast<unsigned char>(c) < 0x20) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(c));
            json += escape;
        } else {
            json += c;
        }
    }
    return json + '"';
}

std::u16string ToText(std::int64_t value) {
    return Decimal(value);
}

std::u16string ToText(std::uint64_t value) {
    return Decimal(value);
}

std::u16string ToText(bool value) {
    return value ? u"true" : u"false";
}

bool CopyText(char16_t* destination, std::int64_t count, const char16_t* source) {
    if (count <= 0) {
        return false;
    }
    const std::u16string_view text{source};
    if (static_cast<std::uint64_t>(count) <= text.size()) {
        destination[0] = 0;
        return false;
    }
    text.copy(destination, text.size());
    destination[text.size()] = 0;
    return true;
}

}  // namespace platform
