#pragma once

// How kelvane-log shows messages, and how it reads its options: functions of values.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/diagnostics/EventTraceReader.h"

namespace logtool {

/// "2026-03-05 09:04:07.045 Verbose 1234:5678 text": one line, the text as
/// ToVisible shows it.
std::string TextLine(const platform::etl::TraceEvent& event, bool utc);

/// One JSON object: time (RFC 3339, 100 ns), level, process, thread, channel, message.
std::string JsonLine(const platform::etl::TraceEvent& event, bool utc);

/// A level by its name, in any case.
std::optional<platform::LoggingLevel> ParseLevel(std::string_view text);

/// A moment as FILETIME: "2026-03-05", "2026-03-05 09:04", "2026-03-05T09:04:07", "09:04:07" (today), seconds
/// with a fraction, a date's time with a zone ("Z", "+01:00"), or a while ago: "30s", "10m", "2h", "7d",
/// never before the year 1601. `now` is a FILETIME.
std::optional<std::int64_t> ParseSince(const std::string& text, bool utc, std::int64_t now);

}  // namespace logtool
