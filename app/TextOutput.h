#pragma once

// The pages as text, for a terminal and for programs. User-interface thread.

#include <functional>
#include <string>
#include <vector>

#include "platform/xaml/UIElement.h"

namespace Kelvane {

enum class OutputFormat { Text, Json };

/// One visible row of a page.
struct VisibleRow {
    /// The name of the element that shows the value.
    std::u16string name;
    std::u16string label;
    std::u16string value;
};

/// The rows below `root` in reading order: each visible element that a visible label names, whether or not a
/// collapsed panel holds them.
std::vector<VisibleRow> VisibleRows(const platform::UIElement& root);

/// Once the application is idle, writes the main page's rows to standard output, and then, when the machine
/// has them, those of the USB Type-C page, to which it navigates. When the main page was not filled, says why
/// and what to do on standard error. Calls `done` with the exit status: 0 filled and written, 1 not.
void WritePages(OutputFormat format, std::function<void(int status)> done);

}  // namespace Kelvane
