#include "tools/LogText.h"

#include <strings.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <limits>

#include "platform/core/Text.h"

namespace logtool {

namespace {

/// FILETIME of the Unix epoch.
constexpr std::int64_t kUnixEpoch = 116444736000000000;
constexpr std::int64_t kUnitsPerSecond = 10000000;

struct Moment {
    tm calendar{};
    /// The part of the second, in 100 ns.
    int units = 0;
};

Moment MomentOf(std::int64_t fileTime, bool utc) {
    // Damaged files hold any time; what a calendar cannot show stands as its limit.
    constexpr std::int64_t kLast = 2650467743990000000;
    const auto unix = std::clamp<std::int64_t>(fileTime, 0, kLast) - kUnixEpoch;
    const auto seconds = static_cast<std::time_t>(
        std::floor(static_cast<long double>(unix) / static_cast<long double>(kUnitsPerSecond)));
    Moment moment;
    moment.units = static_cast<int>(unix - seconds * kUnitsPerSecond);
    utc ? gmtime_r(&seconds, &moment.calendar) : localtime_r(&seconds, &moment.calendar);
    return moment;
}

/// The seconds in "10m"; too many for a number stand as the most that one holds.
std::optional<std::int64_t> ParseAgo(std::string_view text) {
    static constexpr std::string_view kUnits = "smhd";
    static constexpr std::array<std::int64_t, 4> kSeconds = {1, 60, 3600, 86400};
    std::int64_t count = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
    if (error == std::errc::invalid_argument || text.starts_with('-') ||
        end + 1 != text.data() + text.size() || kUnits.find(*end) == kUnits.npos) {
        return {};
    }
    const auto seconds = kSeconds[kUnits.find(*end)];
    constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
    return error != std::errc() || count > kMost / seconds ? kMost : count * seconds;
}

/// Takes ".605" off the front of `text`, in 100 ns; digits beyond those are dropped.
std::int64_t TakeFraction(const char*& text) {
    if (text[0] != '.' || text[1] < '0' || text[1] > '9') {
        return 0;
    }
    std::int64_t units = 0;
    auto value = kUnitsPerSecond;
    for (++text; *text >= '0' && *text <= '9'; ++text) {
        value /= 10;
        units += (*text - '0') * value;
    }
    return units;
}

}  // namespace

std::string TextLine(const platform::etl::TraceEvent& event, bool utc) {
    const auto moment = MomentOf(event.fileTime, utc);
    std::array<char, 80> head;
    const auto length = std::strftime(head.data(), head.size(), "%Y-%m-%d %H:%M:%S", &moment.calendar);
    std::snprintf(head.data() + length, head.size() - length, ".%03d %s %u:%u ", moment.units / 10000,
                  platform::LoggingLevelName(event.level), event.process, event.thread);
    return head.data() + platform::ToVisible(platform::ToUtf8(event.text));
}

std::string JsonLine(const platform::etl::TraceEvent& event, bool utc) {
    const auto moment = MomentOf(event.fileTime, utc);
    std::array<char, 64> time;
    auto length = std::strftime(time.data(), time.size(), "%Y-%m-%dT%H:%M:%S", &moment.calendar);
    length += static_cast<std::size_t>(
        std::snprintf(time.data() + length, time.size() - length, ".%07d", moment.units));
    const auto offset = moment.calendar.tm_gmtoff / 60;
    if (utc) {
        time[length++] = 'Z';
        time[length] = 0;
    } else {
        std::snprintf(time.data() + length, time.size() - length, "%c%02ld:%02ld", offset < 0 ? '-' : '+',
                      std::labs(offset) / 60, std::labs(offset) % 60);
    }
    return std::string("{\"time\":\"") + time.data() + "\",\"level\":\"" +
           platform::LoggingLevelName(event.level) + "\",\"process\":" + std::to_string(event.process) +
           ",\"thread\":" + std::to_string(event.thread) + ",\"channel\":" + platform::ToJson(event.channel) +
           ",\"message\":" + platform::ToJson(event.text) + "}";
}

std::optional<platform::LoggingLevel> ParseLevel(std::string_view text) {
    for (int number = 0; number <= static_cast<int>(platform::LoggingLevel::Critical); ++number) {
        const auto level = static_cast<platform::LoggingLevel>(number);
        if (strcasecmp(std::string(text).c_str(), platform::LoggingLevelName(level)) == 0) {
            return level;
        }
    }
    return {};
}

std::optional<std::int64_t> ParseSince(const std::string& text, bool utc, std::int64_t now) {
    if (const auto ago = ParseAgo(text)) {
        return *ago > now / kUnitsPerSecond ? 0 : now - *ago * kUnitsPerSecond;
    }
    for (const std::string_view format : {"%Y-%m-%dT%H:%M:%S", "%Y-%m-%d %H:%M:%S", "%Y-%m-%dT%H:%M",
                                          "%Y-%m-%d %H:%M", "%Y-%m-%d", "%H:%M:%S", "%H:%M"}) {
        const bool hasDate = format.starts_with("%Y");
        tm calendar{};
        if (!hasDate) {
            const auto today = MomentOf(now, utc).calendar;
            calendar.tm_year = today.tm_year;
            calendar.tm_mon = today.tm_mon;
            calendar.tm_mday = today.tm_mday;
        }
        const char* end = strptime(text.c_str(), format.data(), &calendar);
        if (end == nullptr) {
            continue;
        }
        const auto units = format.ends_with("%S") ? TakeFraction(end) : 0;
        long offset = 0;
        bool isUtc = utc;
        if ((*end == 'Z' || *end == '+' || *end == '-') && hasDate && format.find("%H") != format.npos) {
            tm zone{};
            end = strptime(end, "%z", &zone);
            offset = zone.tm_gmtoff;
            isUtc = true;
        }
        if (end != nullptr && *end == 0) {
            calendar.tm_isdst = -1;
            const std::int64_t seconds = (isUtc ? timegm(&calendar) : mktime(&calendar)) - offset;
            return kUnixEpoch + seconds * kUnitsPerSecond + units;
        }
    }
    return {};
}

}  // namespace logtool
