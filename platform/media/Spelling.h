#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace platform {

/// Whether a text is to be spoken character by character, as serial numbers are: it is one word (blanks
/// around it do not count) that holds a digit (0 to 9), or that is ASCII without a vowel (a e i o u).
bool IsIdentifier(std::u16string_view text);

/// The characters of an identifier (code points) in the groups that they are spoken in. Groups hold three or
/// four characters and differ by at most one; only identifiers of 1, 2 or 5 characters have smaller ones.
std::vector<std::u32string> SpellingGroups(std::u16string_view identifier);

}  // namespace platform
