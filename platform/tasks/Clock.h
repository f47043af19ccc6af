#pragma once

#include <chrono>
#include <cstdint>

namespace platform {

/// Local calendar time, in the platform's field names and ranges (Month 1 to 12, DayOfWeek 0 = Sunday).
struct SystemTime {
    std::uint16_t Year;
    std::uint16_t Month;
    std::uint16_t DayOfWeek;
    std::uint16_t Day;
    std::uint16_t Hour;
    std::uint16_t Minute;
    std::uint16_t Second;
    std::uint16_t Milliseconds;
};

/// Where the layer takes time from, so that a test can set and advance it. Any thread.
class Clock {
  public:
    virtual ~Clock() = default;

    /// FILETIME: 100 ns units since 1601-01-01 UTC.
    virtual std::int64_t FileTime() = 0;

    /// A clock that never goes back, in 100 ns units from an arbitrary start; it goes on while the machine
    /// sleeps.
    virtual std::int64_t Steady() = 0;

    virtual SystemTime LocalTime() = 0;

    /// Minutes to add to local time to get UTC.
    virtual std::int32_t TimeZoneBias() = 0;

    /// Blocks the calling thread; never call it on the user-interface thread. Ends early, returning false,
    /// when the thread pool is stopped.
    virtual bool SleepFor(std::chrono::milliseconds duration) = 0;
};

/// The machine's own clock.
Clock& SystemClock();

/// The clock in use: the machine's, unless a ClockScope lives.
Clock& CurrentClock();

/// The FILETIME at which Steady of `clock` was zero, from readings of both clocks that belong together
/// although the thread may lose its processor between two of them. Any thread.
std::int64_t FileTimeOfSteadyZero(Clock& clock);

/// Makes `clock` the one in use while the scope lives. Create and destroy it while no other thread uses the
/// layer.
class ClockScope {
  public:
    explicit ClockScope(Clock& clock);
    ~ClockScope();
    ClockScope(const ClockScope&) = delete;
    ClockScope& operator=(const ClockScope&) = delete;
};

/// Local calendar time of the clock in use.
inline SystemTime GetLocalTime() {
    return CurrentClock().LocalTime();
}

}  // namespace platform
