#include "platform/tasks/Clock.h"

#include <condition_variable>
#include <ctime>
#include <limits>
#include <mutex>

#include "platform/core/FileTime.h"
#include "platform/tasks/ThreadPool.h"

namespace platform {

namespace {

/// How far apart readings may lie that count as one (1 us), and how often better ones are looked for.
constexpr std::int64_t kAtOnce = 10;
constexpr int kReadings = 10;

std::int64_t Read(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return now.tv_sec * kClockUnitsPerSecond + now.tv_nsec / 100;
}

class MachineClock final : public Clock {
  public:
    std::int64_t FileTime() override { return Read(CLOCK_REALTIME) + kUnixEpochFileTime; }

    std::int64_t Steady() override { return Read(CLOCK_BOOTTIME); }

    SystemTime LocalTime() override {
        timespec now{};
        clock_gettime(CLOCK_REALTIME, &now);
        tm local{};
        localtime_r(&now.tv_sec, &local);
        const auto part = [](auto value) { return static_cast<std::uint16_t>(value); };
        return {part(local.tm_year + 1900), part(local.tm_mon + 1),     part(local.tm_wday),
                part(local.tm_mday),        part(local.tm_hour),        part(local.tm_min),
                part(local.tm_sec),         part(now.tv_nsec / 1000000)};
    }

    std::int32_t TimeZoneBias() override {
        const std::time_t now = std::time(nullptr);
        tm local{};
        localtime_r(&now, &local);
        return static_cast<std::int32_t>(-local.tm_gmtoff / 60);
    }

    bool SleepFor(std::chrono::milliseconds duration) override {
        std::mutex mutex;
        std::condition_variable wake;
        bool interrupted = false;
        const BlockingRegion blocking([&] {
            const std::lock_guard lock(mutex);
            interrupted = true;
            wake.notify_all();
        });
        std::unique_lock lock(mutex);
        return !wake.wait_for(lock, duration, [&] { return interrupted; });
    }
};

Clock* g_clock = nullptr;

}  // namespace

Clock& SystemClock() {
    static MachineClock clock;
    return clock;
}

Clock& CurrentClock() {
    return g_clock != nullptr ? *g_clock : SystemClock();
}

std::int64_t FileTimeOfSteadyZero(Clock& clock) {
    auto least = std::numeric_limits<std::int64_t>::max();
    std::int64_t result = 0;
    for (int reading = 0; reading < kReadings && least > kAtOnce; ++reading) {
        const auto before = clock.Steady();
        const auto fileTime = clock.FileTime();
        const auto apart = clock.Steady() - before;
        if (apart < least) {
            least = apart;
            result = fileTime - before - apart / 2;
        }
    }
    return result;
}

ClockScope::ClockScope(Clock& clock) {
    g_clock = &clock;
}

ClockScope::~ClockScope() {
    g_clock = nullptr;
}

}  // namespace platform
