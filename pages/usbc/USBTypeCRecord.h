#pragma once

// The interpretation of the USB Type-C record: from a text to a value, and the lines that the trace gets. No
// page, no window, no effects.

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "logging/TraceLines.h"
#include "pages/DisplayTexts.h"

namespace Kelvane {

inline constexpr std::size_t kUsbTypeCFields = 6;

/// What there is to show, a text for each field of the record: the device line, four support texts, the
/// maximum power. A field that the record lacks has none, nor has a power that is not known.
using UsbTypeCDisplayValues = std::array<std::optional<std::u16string>, kUsbTypeCFields>;

struct UsbTypeCReading {
    UsbTypeCDisplayValues Values;
    /// What the four support texts say; none for the other fields.
    std::array<std::optional<bool>, kUsbTypeCFields> Supports;
    TraceLines Lines;
};

/// Without a window no field is interpreted; more than six are ignored.
UsbTypeCReading InterpretUsbTypeC(std::u16string_view record, const DisplayTexts& texts);

}  // namespace Kelvane
