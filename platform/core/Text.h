#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace platform {

/// UTF-16 to UTF-8 for the edges (terminal, toolkit, file names). A lone surrogate keeps its value as a
/// three-byte sequence (WTF-8), so that FromUtf8(ToUtf8(x)) == x for every x.
std::string ToUtf8(std::u16string_view text);

/// The same, but a lone surrogate becomes U+FFFD: for readers that insist on valid UTF-8.
std::string ToValidUtf8(std::u16string_view text);

/// The code points of a text; a lone surrogate becomes U+FFFD.
std::u32string ToUtf32(std::u16string_view text);

/// UTF-8 (or WTF-8) to UTF-16; each byte that is part of no valid sequence becomes U+FFFD.
std::u16string FromUtf8(std::string_view text);

/// The bytes of a path as text, and back: ToPathBytes(FromPathBytes(x)) == x for every x. A byte that is part
/// of no valid sequence stands as the lone surrogate U+DC00 + byte.
std::u16string FromPathBytes(std::string_view bytes);
std::string ToPathBytes(std::u16string_view text);

/// True for what a terminal obeys instead of showing it: control characters (C0, DEL, C1), line and paragraph
/// separators, and the marks that change the direction of a text.
constexpr bool SteersTerminal(char32_t point) {
    return point < 0x20 || (point >= 0x7F && point < 0xA0) || point == 0x061C ||
           (point >= 0x200E && point <= 0x200F) || (point >= 0x2028 && point <= 0x202E) ||
           (point >= 0x2066 && point <= 0x2069);
}

/// `text`, which is UTF-8, as one line that a terminal only shows: what would steer it stands as in a JSON
/// string (\n, \u001B), a backslash as two, a byte that is not UTF-8 as \xFF. So the text can be
/// distinguished from the line.
std::string ToVisible(std::string_view text);

/// The text as a JSON string with its quotes, in valid UTF-8, of which nothing steers a terminal.
std::string ToJson(std::u16string_view text);

/// Decimal text of a number.
std::u16string ToText(std::int64_t value);
std::u16string ToText(std::uint64_t value);
inline std::u16string ToText(int value) {
    return ToText(static_cast<std::int64_t>(value));
}
inline std::u16string ToText(unsigned value) {
    return ToText(static_cast<std::uint64_t>(value));
}

/// The platform's text form of a Boolean: "true" or "false".
std::u16string ToText(bool value);

/// Copies the zero-terminated text `source` and its zero into `destination`, which has room for `count`
/// characters. When they do not fit, nothing of the text is copied, the first character is set to zero if
/// `count` is positive, and false is returned. The platform's wcscpy_s rule; a negative or zero count touches
/// nothing.
bool CopyText(char16_t* destination, std::int64_t count, const char16_t* source);

}  // namespace platform
