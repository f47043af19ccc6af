#include "platform/core/Lines.h"

#include <algorithm>

namespace platform {

namespace {

template <typename Range>
std::optional<std::string_view> FirstWithKey(const Range& lines, std::string_view key, char separator) {
    for (const std::string_view line : lines) {
        const auto pair = CutLine(line, separator);
        if (pair && pair->Key == key) {
            return pair->Value;
        }
    }
    return std::nullopt;
}

}  // namespace

std::string_view Trimmed(std::string_view text) {
    constexpr std::string_view kBlanks(" \t\r\n\0", 5);
    const auto first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::vector<std::string_view> Lines(std::string_view text) {
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        lines.push_back(text.substr(0, text.find('\n')));
        text.remove_prefix(std::min(lines.back().size() + 1, text.size()));
    }
    return lines;
}

std::optional<KeyValue> CutLine(std::string_view line, char separator) {
    const auto cut = line.find(separator);
    if (cut == std::string_view::npos) {
        return std::nullopt;
    }
    return KeyValue{.Key = Trimmed(line.substr(0, cut)), .Value = Trimmed(line.substr(cut + 1))};
}

std::optional<std::string_view> LineValue(std::string_view text, std::string_view key, char separator) {
    return FirstWithKey(Lines(text), key, separator);
}

std::optional<std::string_view> LastLineValue(std::string_view text, std::string_view key, char separator) {
    auto lines = Lines(text);
    std::ranges::reverse(lines);
    return FirstWithKey(lines, key, separator);
}

}  // namespace platform
