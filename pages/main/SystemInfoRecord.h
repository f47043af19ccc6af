#pragma once

// What the main page makes of its records: from a text to a value, and the lines that the trace gets. No
// page, no window, no effects.

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "logging/TraceLines.h"
#include "pages/DisplayTexts.h"

namespace Kelvane {

/// The rows that each form of the record has, and the places of those that are treated in a way of their own.
inline constexpr std::size_t kSystemInfoRows = 9;
inline constexpr std::size_t kMemoryField = 3;
inline constexpr std::size_t kSerialNumberField = 7;

/// What a system-information record has to show.
struct SystemInfo {
    enum class BiosRow { Unchanged, Hidden, Shown };

    /// Display texts; nothing for a field without a value, whose row keeps what it shows.
    std::array<std::optional<std::u16string>, kSystemInfoRows> Rows;
    BiosRow Bios = BiosRow::Unchanged;
    /// The display text of the BIOS password status, empty for a status that is no number; nothing where the
    /// field has no value.
    std::optional<std::u16string> BiosPassword;

    bool operator==(const SystemInfo&) const = default;
};

/// Nothing for a record with too few fields.
struct SystemInfoReading {
    std::optional<SystemInfo> Value;
    TraceLines Lines;
};
SystemInfoReading InterpretSystemInfo(std::u16string_view record, const DisplayTexts& texts);

/// Whether a USB Type-C record offers the page of its own: its first field names, between commas, one of the
/// generations that have one.
struct UsbTypeCOffer {
    bool HasPage = false;
    TraceLines Lines;
};
UsbTypeCOffer InterpretUsbTypeCOffer(std::u16string_view record);

}  // namespace Kelvane
