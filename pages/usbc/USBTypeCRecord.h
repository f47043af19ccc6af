#pragma once

// The interpretation of the USB Type-C record: texts in, texts out. It knows no page and no window; where
// display texts come from is the caller's business.

#include <array>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "logging/Trace.h"

namespace Kelvane {

inline constexpr std::size_t kUsbTypeCFields = 6;

/// What there is to show, a text for each field of the record: the device line, four support texts, the
/// maximum power. A field that the record lacks has none, nor has a power that is not known.
using UsbTypeCDisplayValues = std::array<std::optional<std::u16string>, kUsbTypeCFields>;

/// The display text for a resource key, in the user's language; empty for a key that is not known.
using ResourceLookup = std::function<std::u16string(std::u16string_view key)>;

/// What the interpretation asks of whoever runs it.
struct UsbTypeCInterpreter {
    /// Appends the pieces of a text to a list.
    std::function<void(std::u16string_view text, std::u16string_view delimiter,
                       std::vector<std::u16string>& pieces)>
        Split;
    ResourceLookup Lookup;
    /// The display text of a support field.
    std::function<std::u16string(const std::u16string& field)> Support;
    /// Takes each display value as soon as it is known, with the number of its field, from 0.
    std::function<void(std::size_t field, std::u16string value)> Show;
};

/// Cuts the record into its fields; says so in the trace when they are not as many as they should be.
std::vector<std::u16string> SplitUsbTypeCRecord(const Trace& trace, std::u16string_view record,
                                                const UsbTypeCInterpreter& interpreter);

/// Interprets the fields that there are, in their order; more than six are ignored.
void InterpretUsbTypeCFields(const Trace& trace, const std::vector<std::u16string>& fields,
                             const UsbTypeCInterpreter& interpreter);

/// The display text of a support field: supported is the word "Supported" alone.
std::u16string SupportText(std::u16string_view field, const ResourceLookup& lookup);

/// The whole interpretation of a record, without a page.
UsbTypeCDisplayValues InterpretUsbTypeCRecord(const Trace& trace, std::u16string_view record,
                                              const ResourceLookup& lookup);

}  // namespace Kelvane
