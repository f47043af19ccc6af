#include "tools/LogText.h"

#include <strings.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <nlohmann/json.hpp>

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

std::string Visible(const std::string& text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto unit = static_cast<unsigned char>(text[i]);
        // The control characters U+0080 to U+009F have two bytes.
        const bool c1 = unit == 0xC2 && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) < 0xA0;
        if (unit == '\n') {
            out += "\\n";
        } else if (unit == '\r') {
            out += "\\r";
        } else if (unit == '\t') {
            out += "\\t";
        } else if (unit < 0x20 || unit == 0x7F || c1) {
            std::array<char, 8> escaped;
            std::snprintf(escaped.data(), escaped.size(), "\\x%02X",
                          unsigned{c1 ? static_cast<unsigned char>(text[++i]) : unit});
            out += escaped.data();
        } else {
            out += text[i];
        }
    }
    return out;
}

}  // namespace

std::string TextLine(const platform::etl::TraceEvent& event, bool utc) {
    const auto moment = MomentOf(event.fileTime, utc);
    std::array<char, 80> head;
    const auto length = std::strftime(head.data(), head.size(), "%Y-%m-%d %H:%M:%S", &moment.calendar);
    std::snprintf(head.data() + length, head.size() - length, ".%03d %s %u:%u ", moment.units / 10000,
                  platform::LoggingLevelName(event.level), event.process, event.thread);
    return head.data() + Visible(platform::ToValidUtf8(event.text));
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
    const nlohmann::ordered_json line = {{"time", time.data()},
                                         {"level", platform::LoggingLevelName(event.level)},
                                         {"process", event.process},
                                         {"thread", event.thread},
                                         {"channel", platform::ToValidUtf8(event.channel)},
                                         {"message", platform::ToValidUtf8(event.text)}};
    return line.dump();
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
    long count = 0;
    char unit = 0;
    int used = 0;
    if (std::sscanf(text.c_str(), "%9ld%c%n", &count, &unit, &used) == 2 && count >= 0 &&
        static_cast<std::size_t>(used) == text.size()) {
        const std::string_view units = "smhd";
        static constexpr std::array<std::int64_t, 4> kSeconds = {1, 60, 3600, 86400};
        const auto index = units.find(unit);
        return index == std::string_view::npos
                   ? std::nullopt
                   : std::optional(now - count * kSeconds[index] * kUnitsPerSecond);
    }
    for (const char* format : {"%Y-%m-%dT%H:%M:%S", "%Y-%m-%d %H:%M:%S", "%Y-%m-%dT%H:%M", "%Y-%m-%d %H:%M",
                               "%Y-%m-%d", "%H:%M:%S", "%H:%M"}) {
        tm calendar{};
        if (format[1] == 'H') {
            const auto today = MomentOf(now, utc).calendar;
            calendar.tm_year = today.tm_year;
            calendar.tm_mon = today.tm_mon;
            calendar.tm_mday = today.tm_mday;
        }
        const char* end = strptime(text.c_str(), format, &calendar);
        if (end != nullptr && *end == 0) {
            calendar.tm_isdst = -1;
            const std::int64_t seconds = utc ? timegm(&calendar) : mktime(&calendar);
            return kUnixEpoch + seconds * kUnitsPerSecond;
        }
    }
    return {};
}

}  // namespace logtool
