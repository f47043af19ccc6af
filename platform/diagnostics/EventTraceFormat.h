#pragma once

// The event-trace (.etl) file format as far as it is written and read here: the one place of its offsets and
// constants. docs/log-files.md describes the format and names its public sources. Everything is little-endian
// and lies in the file as it lies in these structures.

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace platform::etl {

static_assert(std::endian::native == std::endian::little);

/// All buffers of a file have this size; records never cross them.
inline constexpr std::uint32_t kBufferSize = 0x10000;
/// The size at which a session goes on to the next file: the header's buffer and three buffers of events.
inline constexpr std::uint32_t kBuffersPerFile = 4;
inline constexpr std::size_t kFileSize = std::size_t{kBufferSize} * kBuffersPerFile;
inline constexpr std::size_t kRecordAlignment = 8;
inline constexpr unsigned char kFill = 0xFF;

constexpr std::size_t Align(std::size_t size) {
    return (size + kRecordAlignment - 1) / kRecordAlignment * kRecordAlignment;
}

inline constexpr std::uint32_t kStateFlush = 3;
inline constexpr std::uint16_t kBufferTypeGeneric = 0;
inline constexpr std::uint16_t kBufferTypeHeader = 4;
inline constexpr std::uint16_t kBufferFlagFlushMarker = 0x01;
inline constexpr std::uint16_t kBufferFlagCompressed = 0x40;
inline constexpr std::uint16_t kBufferFlagProcessorIndex = 0x20;
inline constexpr std::uint16_t kLoggerId = 1;

/// WMI_BUFFER_HEADER, at the start of every buffer.
struct BufferHeader {
    std::uint32_t BufferSize;
    /// End of the last record with its padding, from the buffer's start; Offset and CurrentOffset are the
    /// same.
    std::uint32_t SavedOffset;
    std::uint32_t CurrentOffset;
    std::int32_t ReferenceCount;
    std::int64_t TimeStamp;
    std::int64_t SequenceNumber;
    std::uint64_t ClockTypeAndFrequency;
    std::uint16_t ProcessorIndex;
    std::uint16_t LoggerId;
    std::uint32_t State;
    std::uint32_t Offset;
    std::uint16_t BufferFlag;
    std::uint16_t BufferType;
    std::array<std::uint64_t, 2> ReferenceTime;
};
static_assert(sizeof(BufferHeader) == 0x48 && offsetof(BufferHeader, Offset) == 0x30);

inline constexpr std::uint8_t kHeaderTypeSystem64 = 2;
inline constexpr std::uint8_t kHeaderTypeSystem32 = 1;

/// SYSTEM_TRACE_HEADER: how the header record begins.
struct SystemTraceHeader {
    std::uint16_t Version;
    std::uint8_t HeaderType;
    std::uint8_t Flags;
    /// The whole record with both strings, without padding.
    std::uint16_t Size;
    std::uint16_t HookId;
    std::uint32_t ThreadId;
    std::uint32_t ProcessId;
    /// The clock reading that belongs to LogFileHeader::StartTime.
    std::int64_t SystemTime;
    std::uint32_t KernelTime;
    std::uint32_t UserTime;
};
static_assert(sizeof(SystemTraceHeader) == 0x20);

/// TIME_ZONE_INFORMATION; Bias in minutes, UTC = local + Bias.
struct TimeZoneInformation {
    std::int32_t Bias;
    std::array<char16_t, 32> StandardName;
    std::array<std::uint16_t, 8> StandardDate;
    std::int32_t StandardBias;
    std::array<char16_t, 32> DaylightName;
    std::array<std::uint16_t, 8> DaylightDate;
    std::int32_t DaylightBias;
};
static_assert(sizeof(TimeZoneInformation) == 172);

inline constexpr std::array<std::uint8_t, 4> kFormatVersion = {10, 0, 1, 5};
inline constexpr std::uint32_t kProviderVersion = 19041;
inline constexpr std::uint32_t kTimerResolution = 156250;
/// Sequential, sizes in KB, one stream of buffers.
inline constexpr std::uint32_t kLogFileMode = 0x10002001;
inline constexpr std::uint32_t kCpuSpeedInMHz = 1000;
inline constexpr std::uint32_t kClockTypeCounter = 1;
inline constexpr std::uint32_t kClockTypeSystemTime = 2;

/// TRACE_LOGFILE_HEADER of a 64-bit trace; behind it the session's and the file's name, zero-terminated
/// UTF-16. Times are FILETIMEs: 100 ns since 1601-01-01 UTC.
struct LogFileHeader {
    std::uint32_t BufferSize;
    std::array<std::uint8_t, 4> Version;
    std::uint32_t ProviderVersion;
    std::uint32_t NumberOfProcessors;
    std::int64_t EndTime;
    std::uint32_t TimerResolution;
    std::uint32_t MaximumFileSize;
    std::uint32_t LogFileMode;
    /// All buffers of the file, the header's included.
    std::uint32_t BuffersWritten;
    std::uint32_t StartBuffers;
    std::uint32_t PointerSize;
    std::uint32_t EventsLost;
    std::uint32_t CpuSpeedInMHz;
    std::uint64_t LoggerName;
    std::uint64_t LogFileName;
    TimeZoneInformation TimeZone;
    std::uint32_t Padding;
    std::int64_t BootTime;
    std::int64_t PerfFreq;
    std::int64_t StartTime;
    std::uint32_t ClockType;
    std::uint32_t BuffersLost;
};
static_assert(sizeof(LogFileHeader) == 0x118 && offsetof(LogFileHeader, BootTime) == 0xF8);

/// The fixed part of buffer 0.
struct FileHeader {
    BufferHeader Buffer;
    SystemTraceHeader Record;
    LogFileHeader LogFile;
};
static_assert(sizeof(FileHeader) == 0x180 && offsetof(FileHeader, LogFile.BuffersWritten) == 0x8C);

inline constexpr std::uint16_t kHeaderTypeEvent64 = 0xC013;
inline constexpr std::uint16_t kHeaderTypeEvent32 = 0xC012;
inline constexpr std::uint16_t kEventFlagExtendedItems = 1;

using Guid = std::array<std::uint8_t, 16>;

/// The provider of every channel that was made from its name alone.
inline constexpr Guid kChannelProvider = {0x6e, 0x82, 0xd2, 0x4b, 0xa1, 0x54, 0xa9, 0x4b,
                                          0xbf, 0x63, 0x92, 0xb7, 0x3e, 0xa1, 0xac, 0x4a};
inline constexpr std::uint64_t kKeywordMessage = 1;
/// The event's id and level are this number less the LoggingLevel.
inline constexpr int kLevelBase = 5;

/// EVENT_HEADER. The payload of a channel message is the channel's name and the text, zero-terminated UTF-16.
struct EventHeader {
    /// Header and payload, without the padding to the next multiple of 8.
    std::uint16_t Size;
    std::uint16_t HeaderType;
    std::uint16_t Flags;
    std::uint16_t EventProperty;
    std::uint32_t ThreadId;
    std::uint32_t ProcessId;
    std::int64_t TimeStamp;
    Guid ProviderId;
    std::uint16_t Id;
    std::uint8_t Version;
    std::uint8_t Channel;
    std::uint8_t Level;
    std::uint8_t Opcode;
    std::uint16_t Task;
    std::uint64_t Keyword;
    std::uint32_t KernelTime;
    std::uint32_t UserTime;
    Guid ActivityId;
};
static_assert(sizeof(EventHeader) == 0x50 && offsetof(EventHeader, Keyword) == 0x30);

/// What a buffer has room for behind its header; a multiple of the alignment.
inline constexpr std::size_t kBufferRoom = kBufferSize - sizeof(BufferHeader);
inline constexpr std::size_t kPayloadLimit = kBufferRoom - sizeof(EventHeader);
static_assert(kBufferRoom % kRecordAlignment == 0 && sizeof(EventHeader) + kPayloadLimit <= 0xFFFF);

/// The longest text, in UTF-16 units, of a message on a channel whose name has `channelLength` units.
constexpr std::size_t TextLimit(std::size_t channelLength) {
    return kPayloadLimit / sizeof(char16_t) - channelLength - 2;
}

}  // namespace platform::etl
