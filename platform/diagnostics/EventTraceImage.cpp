#include "platform/diagnostics/EventTraceImage.h"

#include <algorithm>
#include <atomic>
#include <cstring>

#include "platform/core/FileTime.h"

namespace platform::etl {

namespace {

/// Release store: publishes the preceding stores to other readers of the file, crash recovery included.
template <typename T>
void Publish(T& field, T value) {
    std::atomic_ref<T>(field).store(value, std::memory_order_release);
}

void SetEnd(BufferHeader& buffer, std::uint32_t offset) {
    Publish(buffer.CurrentOffset, offset);
    Publish(buffer.Offset, offset);
    Publish(buffer.SavedOffset, offset);
}

std::byte* AppendText(std::byte* at, std::u16string_view text) {
    std::memcpy(at, text.data(), text.size() * sizeof(char16_t));
    at += text.size() * sizeof(char16_t);
    std::memset(at, 0, sizeof(char16_t));
    return at + sizeof(char16_t);
}

/// Fetches, to be written, the memory that the calls after the next one will fill. Another processor, which
/// stored the image before, has it in its cache, and the next lock would wait until each line has come.
/// Memory that is not there is not fetched.
void FetchAhead(const std::byte* at) {
    constexpr std::ptrdiff_t kLine = 64;
    constexpr std::ptrdiff_t kFirst = 512;
    constexpr std::ptrdiff_t kLast = 768;
    for (auto offset = kFirst; offset < kLast; offset += kLine) {
#if defined(__x86_64__)
        // The builtin fetches to read only; processors that do not have this instruction skip it.
        asm volatile("prefetchw %0" : : "m"(at[offset]));
#else
        __builtin_prefetch(at + offset, 1);
#endif
    }
}

void FillBehind(BufferHeader& buffer, std::uint32_t offset) {
    std::memset(reinterpret_cast<std::byte*>(&buffer) + offset, kFill, kBufferSize - offset);
}

std::int64_t FileTimeOf(const FileHeader& header, std::int64_t steady) {
    // Wraps instead of overflowing: what a crash left may hold any numbers.
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(header.LogFile.StartTime) +
                                     static_cast<std::uint64_t>(steady) -
                                     static_cast<std::uint64_t>(header.Record.SystemTime));
}

/// Cuts the buffer behind its last whole record, which may be earlier than its end says when the writer
/// stopped in between, and makes all of its header agree; false when there is no record.
bool CompleteBuffer(BufferHeader& buffer) {
    if (buffer.BufferSize != kBufferSize || buffer.SavedOffset > kBufferSize) {
        return false;
    }
    std::uint32_t end = sizeof(BufferHeader);
    while (end + sizeof(EventHeader) <= buffer.SavedOffset) {
        const auto& record =
            *reinterpret_cast<const EventHeader*>(reinterpret_cast<std::byte*>(&buffer) + end);
        const auto size = static_cast<std::uint32_t>(Align(record.Size));
        if (record.Size < sizeof(EventHeader) || end + size > buffer.SavedOffset) {
            break;
        }
        buffer.TimeStamp = record.TimeStamp;
        end += size;
    }
    SetEnd(buffer, end);
    FillBehind(buffer, end);
    return end > sizeof(BufferHeader);
}

}  // namespace

FileHeader& EventTraceImage::Header() const {
    return *reinterpret_cast<FileHeader*>(m_memory);
}

BufferHeader& EventTraceImage::Buffer(std::uint32_t index) const {
    return *reinterpret_cast<BufferHeader*>(m_memory + std::size_t{index} * kBufferSize);
}

void EventTraceImage::Prepare(std::u16string_view sessionName, std::u16string_view fileName,
                              std::int32_t timeZoneBias) {
    constexpr std::size_t kNameLimit = 255;
    auto& header = Header();
    Publish(header.LogFile.BuffersWritten, 0U);
    m_buffer = 0;
    m_offset = kBufferSize;

    auto* at = AppendText(m_memory + sizeof(FileHeader), sessionName.substr(0, kNameLimit));
    at = AppendText(at, fileName.substr(0, kNameLimit));
    const auto recordEnd = static_cast<std::size_t>(at - m_memory);
    const auto end = static_cast<std::uint32_t>(Align(recordEnd));
    std::memset(at, 0, end - recordEnd);

    header.Buffer = {.BufferSize = kBufferSize,
                     .SavedOffset = end,
                     .CurrentOffset = end,
                     .ReferenceCount = 0,
                     .TimeStamp = 0,
                     .SequenceNumber = 0,
                     .ClockTypeAndFrequency = 0,
                     .ProcessorIndex = 0,
                     .LoggerId = kLoggerId,
                     .State = kStateFlush,
                     .Offset = end,
                     .BufferFlag = kBufferFlagProcessorIndex | kBufferFlagFlushMarker,
                     .BufferType = kBufferTypeHeader,
                     .ReferenceTime = {}};
    header.Record = {.Version = 2,
                     .HeaderType = kHeaderTypeSystem64,
                     .Flags = 0xC0,
                     .Size = static_cast<std::uint16_t>(recordEnd - sizeof(BufferHeader)),
                     .HookId = 0,
                     .ThreadId = 0,
                     .ProcessId = 0,
                     .SystemTime = 0,
                     .KernelTime = 0,
                     .UserTime = 0};
    header.LogFile = {.BufferSize = kBufferSize,
                      .Version = kFormatVersion,
                      .ProviderVersion = kProviderVersion,
                      .NumberOfProcessors = 1,
                      .EndTime = 0,
                      .TimerResolution = kTimerResolution,
                      .MaximumFileSize = kFileSize / 1024,
                      .LogFileMode = kLogFileMode,
                      .BuffersWritten = 0,
                      .StartBuffers = 1,
                      .PointerSize = 8,
                      .EventsLost = 0,
                      .CpuSpeedInMHz = kCpuSpeedInMHz,
                      .LoggerName = 0,
                      .LogFileName = 0,
                      .TimeZone = {},
                      .Padding = 0,
                      .BootTime = 0,
                      .PerfFreq = kClockUnitsPerSecond,
                      .StartTime = 0,
                      .ClockType = kClockTypeCounter,
                      .BuffersLost = 0};
    header.LogFile.TimeZone.Bias = timeZoneBias;
    FillBehind(header.Buffer, end);
}

void EventTraceImage::Begin(std::uint32_t thread, std::uint32_t process, std::int64_t fileTime,
                            std::int64_t steady) {
    auto& header = Header();
    header.Record.ThreadId = thread;
    header.Record.ProcessId = process;
    header.Record.SystemTime = steady;
    header.LogFile.StartTime = fileTime;
    // The steady clock counts from the machine's start.
    header.LogFile.BootTime = fileTime - std::max<std::int64_t>(steady, 0);
}

bool EventTraceImage::Append(const Message& message, std::int64_t steady) {
    const std::size_t size =
        sizeof(EventHeader) + (message.Channel.size() + message.Text.size() + 2) * sizeof(char16_t);
    const auto padded = static_cast<std::uint32_t>(Align(size));
    const bool opensBuffer = m_offset + padded > kBufferSize;
    if (opensBuffer) {
        if (m_buffer + 1 == kBuffersPerFile) {
            return false;
        }
        if (m_buffer > 0) {
            FillBehind(Buffer(m_buffer), m_offset);
        }
        ++m_buffer;
        m_offset = sizeof(BufferHeader);
    }
    auto& buffer = Buffer(m_buffer);
    auto* const record = reinterpret_cast<std::byte*>(&buffer) + m_offset;
    const auto id = static_cast<std::uint8_t>(kLevelBase - message.Level);
    *reinterpret_cast<EventHeader*>(record) = {.Size = static_cast<std::uint16_t>(size),
                                               .HeaderType = kHeaderTypeEvent64,
                                               .Flags = 0,
                                               .EventProperty = 0,
                                               .ThreadId = message.Thread,
                                               .ProcessId = message.Process,
                                               .TimeStamp = steady,
                                               .ProviderId = kChannelProvider,
                                               .Id = id,
                                               .Version = 0,
                                               .Channel = 0,
                                               .Level = id,
                                               .Opcode = 0,
                                               .Task = 0,
                                               .Keyword = kKeywordMessage,
                                               .KernelTime = 0,
                                               .UserTime = 0,
                                               .ActivityId = {}};
    auto* at = AppendText(record + sizeof(EventHeader), message.Channel);
    at = AppendText(at, message.Text);
    std::memset(at, 0, padded - size);
    m_offset += padded;
    FetchAhead(at);

    if (opensBuffer) {
        buffer = {.BufferSize = kBufferSize,
                  .SavedOffset = m_offset,
                  .CurrentOffset = m_offset,
                  .ReferenceCount = 0,
                  .TimeStamp = steady,
                  .SequenceNumber = m_buffer,
                  .ClockTypeAndFrequency = 0,
                  .ProcessorIndex = 0,
                  .LoggerId = kLoggerId,
                  .State = kStateFlush,
                  .Offset = m_offset,
                  .BufferFlag = kBufferFlagProcessorIndex,
                  .BufferType = kBufferTypeGeneric,
                  .ReferenceTime = {}};
        Publish(Header().LogFile.BuffersWritten, m_buffer + 1);
    } else {
        buffer.TimeStamp = steady;
        SetEnd(buffer, m_offset);
    }
    return true;
}

void EventTraceImage::Complete(std::int64_t fileTime, std::uint32_t eventsLost) {
    auto& buffer = Buffer(m_buffer);
    FillBehind(buffer, m_offset);
    buffer.BufferFlag |= kBufferFlagFlushMarker;
    auto& header = Header();
    header.LogFile.EventsLost = eventsLost;
    header.LogFile.EndTime = std::max(fileTime, FileTimeOf(header, buffer.TimeStamp));
}

std::span<const std::byte> EventTraceImage::Bytes() const {
    return {m_memory, std::size_t{Header().LogFile.BuffersWritten} * kBufferSize};
}

std::size_t EventTraceImage::CompleteLeftover(std::span<std::byte> file) {
    if (file.size() < 2 * std::size_t{kBufferSize}) {
        return 0;
    }
    auto& header = *reinterpret_cast<FileHeader*>(file.data());
    if (header.Buffer.BufferType != kBufferTypeHeader || header.LogFile.BufferSize != kBufferSize) {
        return 0;
    }
    const auto count = std::min<std::size_t>(header.LogFile.BuffersWritten, file.size() / kBufferSize);
    BufferHeader* last = nullptr;
    std::size_t length = kBufferSize;
    for (std::size_t index = 1; index < count; ++index) {
        auto& buffer = *reinterpret_cast<BufferHeader*>(file.data() + index * kBufferSize);
        if (!CompleteBuffer(buffer)) {
            break;
        }
        last = &buffer;
        length += kBufferSize;
    }
    if (last == nullptr) {
        return 0;
    }
    last->BufferFlag |= kBufferFlagFlushMarker;
    header.LogFile.BuffersWritten = static_cast<std::uint32_t>(length / kBufferSize);
    header.LogFile.EndTime = std::max(header.LogFile.EndTime, FileTimeOf(header, last->TimeStamp));
    return length;
}

}  // namespace platform::etl
