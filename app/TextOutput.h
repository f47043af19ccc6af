#pragma once

// The machine's data as text, for a terminal and for programs, made from what the view model has cached.
// User-interface thread.

#include <string>

namespace Kelvane {

enum class OutputFormat {
    /// A "label: value" line for each row of the pages, in the user's language.
    Text,
    /// The details document (docs/details.md), the same in every language; without details as much of it as
    /// the records say, with "record" as the source.
    Json,
};

/// In valid UTF-8. Hidden identifiers (MainPage::HidesIdentifiers) are dots in Text and "removed" in Json.
std::string MachineAs(OutputFormat format);

/// Whether the system-information record has a value.
bool HasSystemInformation();

}  // namespace Kelvane
