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

constexpr char32_t kEscapedByte = 0xDC00;

constexpr bool IsEscapedByte(char32_t point) {
    return point >= kEscapedByte + 0x80 && point <= kEscapedByte + 0xFF;
}

/// True for the byte that DecodeOne made `decoded` of when no valid sequence begins with it.
constexpr bool IsInvalidByte(const Decoded& decoded) {
    return decoded.point == kReplacement && decoded.length == 1;
}

void AppendUtf16(std::u16string& out, char32_t point) {
    if (point < 0x10000) {
        out += static_cast<char16_t>(point);
    } else {
        out += static_cast<char16_t>(0xD800 + ((point - 0x10000) >> 10));
        out += static_cast<char16_t>(0xDC00 + ((point - 0x10000) & 0x3FF));
    }
}

/// The escape of JSON.
void AppendEscape(std::string& out, char32_t point) {
    constexpr std::string_view kShort = "\n\r\t\"\\";
    constexpr std::string_view kLetters = "nrt\"\\";
    const auto at = point < 0x80 ? kShort.find(static_cast<char>(point)) : kShort.npos;
    if (at != kShort.npos) {
        out += {'\\', kLetters[at]};
        return;
    }
    char escape[12];
    std::snprintf(escape, sizeof escape, "\\u%04X", static_cast<unsigned>(point));
    out += escape;
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
        AppendUtf16(out, point);
    }
    return out;
}

std::u16string FromPathBytes(std::string_view bytes) {
    std::u16string out;
    while (!bytes.empty()) {
        auto decoded = DecodeOne(bytes);
        // A surrogate would be taken for a byte on the way back.
        if (IsInvalidByte(decoded) || IsSurrogate(decoded.point)) {
            decoded = {kEscapedByte + static_cast<unsigned char>(bytes[0]), 1};
        }
        bytes.remove_prefix(decoded.length);
        AppendUtf16(out, decoded.point);
    }
    return out;
}

std::string ToPathBytes(std::u16string_view text) {
    std::string out;
    ForEachPoint(text, [&](char32_t point) {
        if (IsEscapedByte(point)) {
            out += static_cast<char>(point - kEscapedByte);
        } else {
            AppendUtf8(out, point);
        }
    });
    return out;
}

std::string ToVisible(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    while (!text.empty()) {
        const auto decoded = DecodeOne(text);
        if (IsInvalidByte(decoded)) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\x%02X", unsigned{static_cast<unsigned char>(text[0])});
            out += escape;
        } else if (SteersTerminal(decoded.point) || decoded.point == U'\\' || IsSurrogate(decoded.point)) {
            AppendEscape(out, decoded.point);
        } else {
            out += text.substr(0, decoded.length);
        }
        text.remove_prefix(decoded.length);
    }
    return out;
}

std::string ToJson(std::u16string_view text) {
    std::string json = "\"";
    ForEachPoint(text, [&](char32_t point) {
        if (SteersTerminal(point) || point == U'"' || point == U'\\') {
            AppendEscape(json, point);
        } else {
            AppendUtf8(json, WithoutSurrogate(point));
        }
    });
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
