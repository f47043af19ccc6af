// Anything taken for a log file: the reader and what completes a crashed run's file must end in good order,
// and what was completed must be whole, with any bytes in its records. The input is a file with small
// buffers. It is read as it is and with a header that passes the checks.

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#include "fuzz/Target.h"
#include "fuzz/TraceFile.h"
#include "platform/core/Exception.h"
#include "platform/diagnostics/EventTraceFormat.h"
#include "platform/diagnostics/EventTraceImage.h"
#include "platform/diagnostics/EventTraceReader.h"
#include "tests/support/LogFolder.h"

namespace {

namespace etl = platform::etl;

void Read(std::span<const std::byte> file) {
    try {
        etl::ReadEventTrace(file, [&](const etl::TraceEvent& event) {
            fuzz::Require(event.Position + event.Text.size() <= file.size());
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

namespace {

using fuzz::At;
using fuzz::kPiece;

alignas(8) std::array<std::byte, etl::kFileSize> g_file;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto bytes = std::as_bytes(std::span(data, size));
    std::vector<std::byte> input(bytes.begin(), bytes.end());
    Read(input);
    if (size < sizeof(etl::FileHeader)) {
        return 0;
    }
    fuzz::MendHeader(input);
    Read(input);

    g_file.fill({});
    fuzz::CopyPieces(input, kPiece, g_file, etl::kBufferSize);
    Read(g_file);
    const auto length = etl::EventTraceImage::CompleteLeftover(g_file);
    fuzz::Require(length <= g_file.size());
    fuzz::Require(length == 0 || IsWhole(std::span(g_file).first(length)));
    Read(std::span(g_file).first(length));
    return 0;
}

std::vector<std::string> fuzz::Seeds() {
    constexpr std::size_t kInputSize = std::size_t{kPiece} * etl::kBuffersPerFile;
    const auto log = tests::LogFile({u"text", u"", u"another text"}, 3);
    std::vector<std::byte> file(kInputSize);
    fuzz::CopyPieces(log, etl::kBufferSize, file, kPiece);
    std::vector<std::string> seeds = {Seed(file)};
    // A file of three buffers of events, the first one also compressed.
    for (std::size_t index = 2; index < etl::kBuffersPerFile; ++index) {
        std::copy_n(file.data() + kPiece, kPiece, file.data() + index * kPiece);
    }
    At<etl::FileHeader>(file, 0).LogFile.BuffersWritten = etl::kBuffersPerFile;
    seeds.push_back(Seed(file));
    At<etl::BufferHeader>(file, kPiece).BufferFlag |= etl::kBufferFlagCompressed;
    At<etl::FileHeader>(file, 0).LogFile.ClockType = etl::kClockTypeSystemTime;
    seeds.push_back(Seed(file));
    return seeds;
}
