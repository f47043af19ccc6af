#pragma once

#include <cstdint>

namespace platform {

/// The user's locale as GetLocaleInfoW takes it.
inline constexpr std::uint32_t LOCALE_USER_DEFAULT = 0x0400;

/// What can be asked: the ISO 639 language name ("en") and the ISO 3166 country name ("US").
inline constexpr std::uint32_t LOCALE_SISO639LANGNAME = 0x0059;
inline constexpr std::uint32_t LOCALE_SISO3166CTRYNAME = 0x005A;

inline constexpr std::uint32_t ERROR_INVALID_PARAMETER = 87;
inline constexpr std::uint32_t ERROR_INSUFFICIENT_BUFFER = 122;
inline constexpr std::uint32_t ERROR_INVALID_FLAGS = 1004;

/// Writes the asked text of the user's locale, with its zero, into `buffer` of `size` characters. Returns the
/// characters written, or 0 on failure, with the reason in GetLastError. Any thread.
int GetLocaleInfoW(std::uint32_t locale, std::uint32_t type, char16_t* buffer, int size);

/// The calling thread's last error of GetLocaleInfoW.
std::uint32_t GetLastError();

}  // namespace platform
