#pragma once

// The machine's data as text, for a terminal and for programs, made from the records that the view model has
// cached. User-interface thread.

#include <string>

namespace Kelvane {

enum class OutputFormat {
    /// A "label: value" line for each row of the pages, in the user's language.
    Text,
    /// One object. Keys and values are the same in every language; a value that is not known is left out.
    Json,
};

/// What the records say, in valid UTF-8.
std::string RecordsAs(OutputFormat format);

/// Whether the system-information record has a value.
bool HasSystemInformation();

}  // namespace Kelvane
