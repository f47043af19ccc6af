#pragma once

// Reads event-trace files, ours and, as far as they hold channel messages, foreign ones. Nothing in the bytes
// is trusted. A file that is still being written reads as far as it has been written.

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "platform/diagnostics/LoggingLevel.h"

namespace platform::etl {

/// What a file says of itself.
struct TraceHeader {
    std::uint32_t Process = 0;
    /// The clock reading and the FILETIME of the file's start; with `Process` they tell files apart.
    std::int64_t SystemTime = 0;
    std::int64_t StartTime = 0;
    /// FILETIME; 0 while the file is being written.
    std::int64_t EndTime = 0;
    std::uint32_t EventsLost = 0;
    std::u16string SessionName;
};

/// One message of a channel.
struct TraceEvent {
    /// FILETIME: 100 ns units since 1601-01-01 UTC.
    std::int64_t FileTime = 0;
    LoggingLevel Level = LoggingLevel::Verbose;
    std::uint32_t Process = 0;
    std::uint32_t Thread = 0;
    std::u16string Channel;
    std::u16string Text;
    /// Where its record begins, in bytes from the file's start: the same in each copy of the file.
    std::size_t Position = 0;
};

struct TraceSummary {
    TraceHeader Header;
    /// Events of other providers, which are not handed out.
    std::size_t ForeignEvents = 0;
    /// What is wrong with the file, in words, at most a few; empty for a sound file.
    std::vector<std::string> Problems;
};

/// Throws a platform exception when `bytes` do not begin like an event-trace file that can be read. The first
/// sizeof(FileHeader) of them suffice.
void CheckEventTrace(std::span<const std::byte> bytes);

/// The start time in the header of `file`, as FILETIME; 0 when it is no event-trace file or cannot be read.
std::int64_t ReadStartTime(const std::filesystem::path& file);

/// Calls `onEvent` with each message in the order of the file, past damage where a later buffer is sound.
/// Throws as CheckEventTrace does.
TraceSummary ReadEventTrace(std::span<const std::byte> file,
                            const std::function<void(TraceEvent&&)>& onEvent);

}  // namespace platform::etl
