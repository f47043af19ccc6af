#include "tools/LogText.h"

#include <strings.h>

#include <array>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <limits>

#include "platform/core/FileTime.h"
#include "platform/core/Text.h"
#include "platform/data/JsonObject.h"

namespace logtool {

namespace {

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

/// Takes ".605" off the front of `text`; digits beyond 100 ns are dropped.
platform::ClockUnits TakeFraction(const char*& text) {
    platform::ClockUnits fraction{};
    if (text[0] != '.' || text[1] < '0' || text[1] > '9') {
        return fraction;
    }
    platform::ClockUnits digit = std::chrono::seconds(1);
    for (++text; *text >= '0' && *text <= '9'; ++text) {
        digit /= 10;
        fraction += (*text - '0') * digit;
    }
    return fraction;
}

}  // namespace

std::string TextLine(const platform::etl::TraceEvent& event, bool utc) {
    const auto moment = platform::CalendarTimeOf(event.FileTime, utc);
    std::array<char, 80> head;
    const auto length = std::strftime(head.data(), head.size(), "%Y-%m-%d %H:%M:%S", &moment.Calendar);
    const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(moment.Fraction).count();
    std::snprintf(head.data() + length, head.size() - length, ".%03d %s %u:%u ",
                  static_cast<int>(milliseconds), platform::LoggingLevelName(event.Level), event.Process,
                  event.Thread);
    return head.data() + platform::ToVisible(platform::ToUtf8(event.Text));
}

std::string JsonLine(const platform::etl::TraceEvent& event, bool utc) {
    const auto moment = platform::CalendarTimeOf(event.FileTime, utc);
    std::array<char, 64> time;
    auto length = std::strftime(time.data(), time.size(), "%Y-%m-%dT%H:%M:%S", &moment.Calendar);
    length += static_cast<std::size_t>(std::snprintf(time.data() + length, time.size() - length, ".%07d",
                                                     static_cast<int>(moment.Fraction.count())));
    const auto offset = moment.Calendar.tm_gmtoff / 60;
    if (utc) {
        time[length++] = 'Z';
        time[length] = 0;
    } else {
        std::snprintf(time.data() + length, time.size() - length, "%c%02ld:%02ld", offset < 0 ? '-' : '+',
                      std::labs(offset) / 60, std::labs(offset) % 60);
    }
    platform::JsonObject line;
    line.SetNamedValue(u"time", platform::FromUtf8(time.data()));
    line.SetNamedValue(u"level", platform::FromUtf8(platform::LoggingLevelName(event.Level)));
    line.SetNamedValue(u"process", event.Process);
    line.SetNamedValue(u"thread", event.Thread);
    line.SetNamedValue(u"channel", event.Channel);
    line.SetNamedValue(u"message", event.Text);
    return platform::ToUtf8(line.Stringify());
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
        return *ago > now / platform::kClockUnitsPerSecond ? 0 : now - *ago * platform::kClockUnitsPerSecond;
    }
    for (const std::string_view format : {"%Y-%m-%dT%H:%M:%S", "%Y-%m-%d %H:%M:%S", "%Y-%m-%dT%H:%M",
                                          "%Y-%m-%d %H:%M", "%Y-%m-%d", "%H:%M:%S", "%H:%M"}) {
        const bool hasDate = format.starts_with("%Y");
        platform::CalendarTime time;
        if (!hasDate) {
            const auto today = platform::CalendarTimeOf(now, utc).Calendar;
            time.Calendar.tm_year = today.tm_year;
            time.Calendar.tm_mon = today.tm_mon;
            time.Calendar.tm_mday = today.tm_mday;
        }
        const char* end = strptime(text.c_str(), format.data(), &time.Calendar);
        if (end == nullptr) {
            continue;
        }
        if (format.ends_with("%S")) {
            time.Fraction = TakeFraction(end);
        }
        std::chrono::seconds offset{};
        bool isUtc = utc;
        if ((*end == 'Z' || *end == '+' || *end == '-') && hasDate && format.find("%H") != format.npos) {
            tm zone{};
            end = strptime(end, "%z", &zone);
            offset = std::chrono::seconds(zone.tm_gmtoff);
            isUtc = true;
        }
        if (end != nullptr && *end == 0) {
            return platform::FileTimeOf(time, isUtc) - platform::ClockUnits(offset).count();
        }
    }
    return {};
}

}  // namespace logtool
