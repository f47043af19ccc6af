#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace Kelvane {

/// What the interpretation of a record knows of its surroundings.
struct DisplayTexts {
    /// The display text for a resource key ("Usable/Text"), in the user's language; empty for a key that is
    /// not known.
    std::function<std::u16string(std::u16string_view key)> Lookup;
    /// Whether the thread has a window, whose language the texts have.
    bool HasWindow = true;
};

/// The texts of the package. User-interface thread.
DisplayTexts PackageTexts();

}  // namespace Kelvane
