#pragma once

// FILETIME: time as 100 ns units since 1601-01-01 UTC.

#include <chrono>
#include <cstdint>
#include <ctime>
#include <ratio>

namespace platform {

/// What FILETIMEs and readings of the steady clock count: units of 100 ns.
using ClockUnits = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;

inline constexpr std::int64_t kClockUnitsPerSecond = ClockUnits::period::den;

/// The FILETIME of 1970-01-01 UTC.
inline constexpr std::int64_t kUnixEpochFileTime = 116'444'736'000'000'000;

/// A FILETIME on the calendar, in UTC or in local time.
struct CalendarTime {
    tm Calendar{};
    /// The part of the second.
    ClockUnits Fraction{};
};

/// Beyond a calendar's four-digit years it is the start of 1601 or the last second of 9999.
CalendarTime CalendarTimeOf(std::int64_t fileTime, bool utc);

/// The FILETIME of a date and time of day; its tm_isdst and tm_gmtoff are ignored.
std::int64_t FileTimeOf(CalendarTime time, bool utc);

}  // namespace platform
