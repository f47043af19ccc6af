#include "platform/core/FileTime.h"

#include <algorithm>

namespace platform {

CalendarTime CalendarTimeOf(std::int64_t fileTime, bool utc) {
    constexpr std::int64_t kLast = 2'650'467'743'990'000'000;
    const auto shown = std::clamp<std::int64_t>(fileTime, 0, kLast);
    const std::time_t seconds = (shown / kClockUnitsPerSecond) - (kUnixEpochFileTime / kClockUnitsPerSecond);
    CalendarTime time{.Fraction = ClockUnits(shown % kClockUnitsPerSecond)};
    utc ? gmtime_r(&seconds, &time.Calendar) : localtime_r(&seconds, &time.Calendar);
    return time;
}

std::int64_t FileTimeOf(CalendarTime time, bool utc) {
    time.Calendar.tm_isdst = -1;
    const std::int64_t seconds = utc ? timegm(&time.Calendar) : mktime(&time.Calendar);
    return kUnixEpochFileTime + seconds * kClockUnitsPerSecond + time.Fraction.count();
}

}  // namespace platform
