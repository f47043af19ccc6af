#pragma once

#include <atomic>

#include "platform/core/FileTime.h"
#include "platform/tasks/Clock.h"

/// A clock that stands still until Advance; sleeping advances it at once.
class TestClock : public platform::Clock {
  public:
    std::int64_t FileTime() override { return kStart + m_units.load(); }
    std::int64_t Steady() override { return m_units.load(); }
    platform::SystemTime LocalTime() override {
        auto now = Local;
        const auto milliseconds = now.Milliseconds + m_units.load() / 10000;
        now.Milliseconds = static_cast<std::uint16_t>(milliseconds % 1000);
        now.Second = static_cast<std::uint16_t>(now.Second + milliseconds / 1000);
        return now;
    }
    std::int32_t TimeZoneBias() override { return Bias; }
    bool SleepFor(std::chrono::milliseconds duration) override {
        Advance(duration);
        return true;
    }

    void Advance(platform::ClockUnits duration) { m_units += duration.count(); }

    /// Local time at the start.
    platform::SystemTime Local{.Year = 2026,
                               .Month = 3,
                               .DayOfWeek = 4,
                               .Day = 5,
                               .Hour = 9,
                               .Minute = 4,
                               .Second = 7,
                               .Milliseconds = 45};

    std::int32_t Bias = 0;

  private:
    static constexpr std::int64_t kStart = 134170000000000000;
    std::atomic<std::int64_t> m_units = 1;
};
