#pragma once

#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Kelvane {

/// What the interpretation of a record knows of its surroundings.
struct DisplayTexts {
    /// The display text for a resource key ("Usable/Text"), in the user's language; empty for a key that is
    /// not known.
    std::function<std::u16string(std::u16string_view key)> Lookup;
    /// Whether the thread has a window, whose language the texts have.
    bool HasWindow = true;
};

/// `text` with each name ("{maker}") replaced by its value, one name after the other.
std::u16string Filled(std::u16string text,
                      std::initializer_list<std::pair<std::u16string_view, std::u16string>> values);

/// The parts that are not empty, as a list: two at a time stand for {first} and {second} in the text of
/// `key`.
std::u16string Joined(std::u16string_view key, const std::vector<std::u16string>& parts,
                      const DisplayTexts& texts);

/// The texts of the package. User-interface thread.
DisplayTexts PackageTexts();

}  // namespace Kelvane
