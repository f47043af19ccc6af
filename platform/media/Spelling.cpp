#include "platform/media/Spelling.h"

#include <algorithm>

#include "platform/core/Text.h"

namespace platform {

namespace {

constexpr bool IsBlank(char16_t unit) {
    return unit <= u' ' || unit == u'\u00A0';
}

std::u16string_view WithoutBlanksAround(std::u16string_view text) {
    const auto first = std::find_if_not(text.begin(), text.end(), IsBlank);
    const auto last = std::find_if_not(text.rbegin(), std::make_reverse_iterator(first), IsBlank).base();
    return {first, last};
}

}  // namespace

bool IsIdentifier(std::u16string_view text) {
    const auto word = WithoutBlanksAround(text);
    if (word.empty() || std::any_of(word.begin(), word.end(), IsBlank)) {
        return false;
    }
    const bool hasDigit = word.find_first_of(u"0123456789") != word.npos;
    const bool isAscii = std::all_of(word.begin(), word.end(), [](char16_t unit) { return unit < 0x80; });
    return hasDigit || (isAscii && word.find_first_of(u"AEIOUaeiou") == word.npos);
}

std::vector<std::u32string> SpellingGroups(std::u16string_view identifier) {
    constexpr std::size_t kLargestGroup = 4;
    const auto characters = ToUtf32(WithoutBlanksAround(identifier));
    const auto count = (characters.size() + kLargestGroup - 1) / kLargestGroup;
    std::vector<std::u32string> groups;
    for (std::size_t done = 0; done < characters.size();) {
        const auto groupsLeft = count - groups.size();
        const auto size = (characters.size() - done + groupsLeft - 1) / groupsLeft;
        groups.push_back(characters.substr(done, size));
        done += size;
    }
    return groups;
}

}  // namespace platform
