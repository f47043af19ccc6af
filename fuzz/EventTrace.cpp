// Anything taken for a log file: the reader and what completes a crashed run's file must end in good order,
// and what was completed must read without a problem of its size.

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

std::size_t CountEvents(std::span<const std::byte> file) {
    std::size_t events = 0;
    try {
        etl::ReadEventTrace(file, [&](const etl::TraceEvent& event) {
            ++events;
            if (event.text.size() > file.size()) {
                std::abort();
            }
        });
    } catch (const platform::Exception&) {
        return 0;
    }
    return events;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::span input(reinterpret_cast<const std::byte*>(data), size);
    CountEvents(input);

    // The same as the beginnings of the buffers of a whole file, so that short inputs reach the records too.
    constexpr std::size_t kPiece = 0x400;
    alignas(8) static std::byte file[etl::kFileSize];
    std::memset(file, 0, sizeof file);
    for (std::size_t buffer = 0; buffer < etl::kBuffersPerFile && buffer * kPiece < size; ++buffer) {
        const auto piece = input.subspan(buffer * kPiece, std::min(kPiece, size - buffer * kPiece));
        std::memcpy(file + buffer * etl::kBufferSize, piece.data(), piece.size());
    }
    CountEvents(file);
    const auto length = etl::EventTraceImage::CompleteLeftover(file);
    if (length > sizeof file) {
        std::abort();
    }
    CountEvents(std::span(file).first(length));
    return 0;
}
