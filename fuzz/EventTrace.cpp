// Anything taken for a log file: the reader and what completes a crashed run's file must end in good order,
// and what was completed must be whole, whatever is in its records.

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "platform/core/Exception.h"
#include "platform/diagnostics/EventTraceFormat.h"
#include "platform/diagnostics/EventTraceImage.h"
#include "platform/diagnostics/EventTraceReader.h"

namespace {

namespace etl = platform::etl;

void Read(std::span<const std::byte> file) {
    try {
        etl::ReadEventTrace(file, [&](const etl::TraceEvent& event) {
            if (event.position + event.text.size() > file.size()) {
                std::abort();
            }
        });
    } catch (const platform::Exception&) {
        // Refused.
    }
}

template <typename T>
T Load(std::span<const std::byte> file, std::size_t at) {
    T value;
    std::memcpy(&value, file.data() + at, sizeof value);
    return value;
}

/// Whether the header counts all buffers and each of the others ends where its last record does.
bool IsWhole(std::span<const std::byte> file) {
    if (Load<etl::FileHeader>(file, 0).LogFile.BuffersWritten * std::size_t{etl::kBufferSize} !=
        file.size()) {
        return false;
    }
    for (std::size_t at = etl::kBufferSize; at < file.size(); at += etl::kBufferSize) {
        const auto header = Load<etl::BufferHeader>(file, at);
        std::size_t end = sizeof(etl::BufferHeader);
        while (end + sizeof(etl::EventHeader) <= std::min(header.SavedOffset, etl::kBufferSize)) {
            const auto size = Load<etl::EventHeader>(file, at + end).Size;
            if (size < sizeof(etl::EventHeader)) {
                return false;
            }
            end += etl::Align(size);
        }
        if (end == sizeof(etl::BufferHeader) || end != header.SavedOffset || header.Offset != end) {
            return false;
        }
    }
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::span input(reinterpret_cast<const std::byte*>(data), size);
    Read(input);

    // The same as the beginnings of the buffers of a whole file, so that short inputs reach the records too.
    constexpr std::size_t kPiece = 0x400;
    alignas(8) static std::byte file[etl::kFileSize];
    std::memset(file, 0, sizeof file);
    for (std::size_t buffer = 0; buffer < etl::kBuffersPerFile && buffer * kPiece < size; ++buffer) {
        const auto piece = input.subspan(buffer * kPiece, std::min(kPiece, size - buffer * kPiece));
        std::memcpy(file + buffer * etl::kBufferSize, piece.data(), piece.size());
    }
    Read(file);
    const auto length = etl::EventTraceImage::CompleteLeftover(file);
    if (length > sizeof file || (length != 0 && !IsWhole(std::span(file).first(length)))) {
        std::abort();
    }
    Read(std::span(file).first(length));
    return 0;
}
