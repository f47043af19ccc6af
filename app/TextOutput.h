#pragma once

// The pages as text, for a terminal. User-interface thread, when the application has become idle.

#include <string>

#include "platform/xaml/UIElement.h"

namespace Kelvane {

/// One visible row of a page.
struct TextRow {
    std::u16string label;
    std::u16string value;
};

/// The rows below `root` in reading order: each visible element that a visible label names, whether or not a
/// collapsed panel holds them.
std::vector<TextRow> VisibleRows(const platform::UIElement& root);

/// Writes the window's rows to standard output as "label: value" lines. When they were not filled, says why,
/// and what to do, on standard error. Returns the exit status: 0 filled, 1 not.
int PrintRows();

}  // namespace Kelvane
