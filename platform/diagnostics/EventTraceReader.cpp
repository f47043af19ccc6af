#include "platform/diagnostics/EventTraceReader.h"

#include <fcntl.h>

#include <algorithm>
#include <cstring>
#include <optional>

#include "platform/core/Exception.h"
#include "platform/core/FileTime.h"
#include "platform/core/Text.h"
#include "platform/diagnostics/EventTraceFormat.h"
#include "platform/storage/FileDescriptor.h"

namespace platform::etl {

namespace {

using Bytes = std::span<const std::byte>;

constexpr std::size_t kProblemLimit = 20;
constexpr std::uint32_t kLargestBuffer = 16U << 20;

/// A copy of the structure at the start of `bytes`, which are long enough.
template <typename T>
T Load(Bytes bytes) {
    T value;
    std::memcpy(&value, bytes.data(), sizeof value);
    return value;
}

/// Takes a zero-terminated text off the front of `bytes`; nothing when no zero ends it.
std::optional<std::u16string> TakeText(Bytes& bytes) {
    std::u16string text;
    for (std::size_t at = 0; at + sizeof(char16_t) <= bytes.size(); at += sizeof(char16_t)) {
        const auto unit = Load<char16_t>(bytes.subspan(at));
        if (unit == 0) {
            bytes = bytes.subspan(at + sizeof(char16_t));
            return text;
        }
        text += unit;
    }
    return {};
}

[[noreturn]] void Refuse(const char16_t* why) {
    throw Exception(result::kInvalidArgument, why);
}

/// FILETIMEs from the file's clock.
struct TimeScale {
    std::int64_t startTime;
    std::int64_t systemTime;
    std::int64_t frequency;
    bool isFileTime;

    std::int64_t FileTime(std::int64_t stamp) const {
        if (isFileTime) {
            return stamp;
        }
        // Wraps instead of overflowing: the numbers may be anything.
        const auto ticks = static_cast<std::int64_t>(static_cast<std::uint64_t>(stamp) -
                                                     static_cast<std::uint64_t>(systemTime));
        const auto rest = static_cast<std::int64_t>(static_cast<double>(ticks % frequency) *
                                                    static_cast<double>(kClockUnitsPerSecond) /
                                                    static_cast<double>(frequency));
        const auto units =
            static_cast<std::uint64_t>(ticks / frequency) * std::uint64_t{kClockUnitsPerSecond} +
            static_cast<std::uint64_t>(rest);
        return static_cast<std::int64_t>(static_cast<std::uint64_t>(startTime) + units);
    }
};

class TraceParser {
  public:
    TraceParser(Bytes file, const std::function<void(TraceEvent&&)>& onEvent)
        : m_file(file), m_onEvent(onEvent) {}

    void ReadHeader() {
        if (m_file.size() < sizeof(FileHeader)) {
            Refuse(u"it is too short for an event-trace file");
        }
        const auto header = Load<FileHeader>(m_file);
        if (header.Buffer.BufferType != kBufferTypeHeader || header.Record.HookId != 0) {
            Refuse(u"it is no event-trace file");
        }
        if (header.Record.HeaderType == kHeaderTypeSystem32) {
            Refuse(u"it is an event-trace file of a 32-bit system, which is not supported");
        }
        m_bufferSize = header.Buffer.BufferSize;
        if (header.Record.HeaderType != kHeaderTypeSystem64 || m_bufferSize != header.LogFile.BufferSize ||
            m_bufferSize < sizeof(FileHeader) || m_bufferSize > kLargestBuffer ||
            m_bufferSize % kRecordAlignment != 0) {
            Refuse(u"its header is damaged");
        }
        const auto frequency = header.LogFile.PerfFreq;
        m_time = {header.LogFile.StartTime, header.Record.SystemTime, frequency,
                  header.LogFile.ClockType == kClockTypeSystemTime};
        if (frequency <= 0 && !m_time.isFileTime) {
            Refuse(u"its header is damaged: the clock has no frequency");
        }
        m_written = header.LogFile.BuffersWritten;
        auto& out = m_summary.Header;
        out.Process = header.Record.ProcessId;
        out.SystemTime = header.Record.SystemTime;
        out.StartTime = header.LogFile.StartTime;
        out.EndTime = header.LogFile.EndTime;
        out.EventsLost = header.LogFile.EventsLost;
        Bytes names = m_file.subspan(sizeof(FileHeader),
                                     std::min<std::size_t>(m_file.size(), m_bufferSize) - sizeof(FileHeader));
        out.SessionName = TakeText(names).value_or(u"");
    }

    TraceSummary Read() {
        ReadHeader();
        const std::size_t inFile = m_file.size() / m_bufferSize;
        std::size_t count = m_written;
        if (count == 0) {
            // The count of an unclosed file of other writers.
            count = inFile + 1;
        } else if (count * m_bufferSize > m_file.size()) {
            Problem(0, "the file is shorter than its " + std::to_string(count) + " buffers");
        }
        for (std::size_t index = 1; index < count && index * m_bufferSize < m_file.size(); ++index) {
            if (!ReadBuffer(index * m_bufferSize)) {
                break;
            }
        }
        return std::move(m_summary);
    }

  private:
    void Problem(std::size_t at, const std::string& what) {
        if (m_summary.Problems.size() < kProblemLimit) {
            m_summary.Problems.push_back(at == 0 ? what : "at byte " + std::to_string(at) + ": " + what);
        }
    }

    /// False when what follows cannot be read either.
    bool ReadBuffer(std::size_t at) {
        const Bytes bytes = m_file.subspan(at, std::min<std::size_t>(m_bufferSize, m_file.size() - at));
        if (bytes.size() < sizeof(BufferHeader)) {
            Problem(at, "the last buffer is cut short");
            return false;
        }
        const auto header = Load<BufferHeader>(bytes);
        if (header.BufferSize == 0 && m_written == 0) {
            // The reserved end of a file that is still being written.
            return false;
        }
        if (header.BufferSize != m_bufferSize || header.SavedOffset < sizeof(BufferHeader) ||
            header.SavedOffset > m_bufferSize) {
            Problem(at, "a buffer's header is damaged");
            return true;
        }
        if ((header.BufferFlag & kBufferFlagCompressed) != 0) {
            Problem(at, "a buffer is compressed, which is not supported");
            return true;
        }
        if (header.BufferType != kBufferTypeGeneric) {
            return true;
        }
        if (header.SavedOffset > bytes.size()) {
            Problem(at, "the last buffer is cut short");
        }
        ReadRecords(bytes.first(std::min<std::size_t>(header.SavedOffset, bytes.size())), at);
        return true;
    }

    void ReadRecords(Bytes buffer, std::size_t at) {
        std::size_t offset = sizeof(BufferHeader);
        while (offset + sizeof(EventHeader) <= buffer.size()) {
            const auto record = buffer.subspan(offset);
            const auto header = Load<EventHeader>(record);
            if (header.HeaderType != kHeaderTypeEvent64) {
                // Kernel records and 32-bit events have other shapes; their size is not certain.
                Problem(at + offset, "a record of an unknown kind; the rest of its buffer is skipped");
                return;
            }
            if (header.Size < sizeof(EventHeader) || header.Size > record.size()) {
                Problem(at + offset, "a record's size is damaged; the rest of its buffer is skipped");
                return;
            }
            ReadEvent(header, record.subspan(sizeof(EventHeader), header.Size - sizeof(EventHeader)),
                      at + offset);
            offset += Align(header.Size);
        }
        if (offset < buffer.size()) {
            Problem(at + offset, "the end of a buffer is no record");
        }
    }

    void ReadEvent(const EventHeader& header, Bytes payload, std::size_t at) {
        if (header.ProviderId != kChannelProvider || header.Id < 1 || header.Id > kLevelBase ||
            (header.Flags & kEventFlagExtendedItems) != 0) {
            ++m_summary.ForeignEvents;
            return;
        }
        auto channel = TakeText(payload);
        auto text = TakeText(payload);
        if (!channel || !text) {
            Problem(at, "a message does not end");
            return;
        }
        if (!payload.empty()) {
            Problem(at, "a message ends before its record; others may be hidden behind it");
        }
        m_onEvent({.FileTime = m_time.FileTime(header.TimeStamp),
                   .Level = static_cast<LoggingLevel>(kLevelBase - header.Id),
                   .Process = header.ProcessId,
                   .Thread = header.ThreadId,
                   .Channel = std::move(*channel),
                   .Text = std::move(*text),
                   .Position = at});
    }

    const Bytes m_file;
    const std::function<void(TraceEvent&&)>& m_onEvent;
    std::size_t m_bufferSize = 0;
    std::size_t m_written = 0;
    TimeScale m_time{};
    TraceSummary m_summary;
};

}  // namespace

void CheckEventTrace(std::span<const std::byte> bytes) {
    TraceParser(bytes, {}).ReadHeader();
}

std::int64_t ReadStartTime(const std::filesystem::path& file) {
    try {
        const auto bytes = ReadUpTo(OpenFile(file, O_RDONLY), file, 0, sizeof(FileHeader));
        CheckEventTrace(bytes);
        return Load<FileHeader>(bytes).LogFile.StartTime;
    } catch (const Exception&) {
        return 0;
    }
}

TraceSummary ReadEventTrace(std::span<const std::byte> file,
                            const std::function<void(TraceEvent&&)>& onEvent) {
    return TraceParser(file, onEvent).Read();
}

}  // namespace platform::etl
