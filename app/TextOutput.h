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

/// Writes the records to standard output; when there is no value, says why and what to do on standard error.
/// Call it once the application is idle. Returns the exit status: 0 when there was a value and the output is
/// written, else 1.
int WriteRecords(OutputFormat format);

}  // namespace Kelvane
