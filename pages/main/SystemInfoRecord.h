#pragma once

// What the main page makes of its records: functions of texts, without a page.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Kelvane {

inline constexpr std::u16string_view kOldFieldSeparator = u",";

/// Places of the fields that are treated in a way of their own.
inline constexpr std::size_t kMemoryField = 3;
inline constexpr std::size_t kSerialNumberField = 7;
inline constexpr std::size_t kBiosPasswordField = 9;

/// Fields of the short form, without, and of the long form, with the BIOS password status. The old separator
/// allows more.
inline constexpr std::size_t kShortFormFields = 10;
inline constexpr std::size_t kLongFormFields = 11;

/// `field` with its first "usable" replaced; nothing when it holds none.
std::optional<std::u16string> ReplaceUsable(std::u16string_view field, std::u16string_view localised);

/// A field as a signed 32-bit integer: blanks skipped, sign, 0x for hexadecimal, 0 for octal; what follows
/// the number is ignored. Throws std::invalid_argument without a digit, std::out_of_range outside 32 bits.
std::int32_t ParseStatusCode(std::u16string_view field);

/// The resource key of the text that tells which BIOS credential a status code stands for.
std::u16string_view BiosCredentialKey(std::int32_t code);

/// Whether the first field of the USB Type-C record names, between commas, one of the generations that have a
/// page of their own.
bool OffersUsbTypeCPage(std::u16string_view firstField);

}  // namespace Kelvane
