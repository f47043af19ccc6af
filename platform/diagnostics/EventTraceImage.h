#pragma once

// One log file of a session as it lies in memory. Its owner decides what the memory is (pages of a file, so
// that what was appended survives the process) and who may use it when; nothing here takes a lock.
//
// At every moment the memory is a file that readers accept: records first, then the buffer's end, then the
// count of buffers. Whoever finds it after a crash needs nothing but the memory itself.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "platform/diagnostics/EventTraceFormat.h"

namespace platform::etl {

/// One message, ready to be copied. The texts hold no zero and no lone surrogate, and the text keeps
/// TextLimit.
struct Message {
    std::u16string_view Channel;
    std::u16string_view Text;
    int Level = 0;
    std::uint32_t Thread = 0;
    std::uint32_t Process = 0;
};

class EventTraceImage {
  public:
    /// `memory` has kFileSize bytes, is aligned to 8, and outlives the image.
    explicit EventTraceImage(std::byte* memory) : m_memory(memory) {}

    /// Makes the image an unused one; the names go into the header record, cut to 255 units.
    void Prepare(std::u16string_view sessionName, std::u16string_view fileName, std::int32_t timeZoneBias);

    /// Begins the file: `steady` is the clock that stamps events, `fileTime` the wall clock read with it.
    void Begin(std::uint32_t thread, std::uint32_t process, std::int64_t fileTime, std::int64_t steady);

    /// Copies the message in, stamped `steady`; false when it needs the next file. A message always fits into
    /// a file that has just begun.
    bool Append(const Message& message, std::int64_t steady);

    /// Ends the file: last buffer marked, rest filled, loss counted.
    void Complete(std::int64_t fileTime, std::uint32_t eventsLost);

    /// The file's bytes: whole buffers, each with a record; empty for an unused image.
    std::span<const std::byte> Bytes() const;

    /// Completes what a crashed writer left in `file`, a file or an image of any length, as far as its
    /// buffers are sound. Returns the length of the completed file, 0 when there is no event in it.
    static std::size_t CompleteLeftover(std::span<std::byte> file);

  private:
    FileHeader& Header() const;
    BufferHeader& Buffer(std::uint32_t index) const;

    std::byte* m_memory;
    /// The buffer that is being filled, and where its next record goes.
    std::uint32_t m_buffer = 0;
    std::uint32_t m_offset = kBufferSize;
};

}  // namespace platform::etl
