// Anything taken for a log file: the reader and what completes a crashed run's file must end in good order,
// and what was completed must be whole, with any bytes in its records. The input is a file with small
// buffers. It is read as it is and with a header that passes the checks.

#include <algorithm>
#include <array>
#include <vector>

#include "fuzz/Target.h"
#include "fuzz/TraceFile.h"
#include "platform/core/Exception.h"
#include "platform/diagnostics/EventTraceImage.h"
#include "platform/diagnostics/EventTraceReader.h"
#include "tests/support/LogFolder.h"

namespace {

namespace etl = platform::etl;
using fuzz::At;
using fuzz::kPiece;

void Read(std::span<const std::byte> file) {
    try {
        etl::ReadEventTrace(file, [&](const etl::TraceEvent& event) {
            fuzz::Require(event.Position + event.Text.size() <= file.size());
        });
    } catch (const platform::Exception&) {
        // Refused.
    }
}

/// The header counts all buffers, and each of the others ends where its last record does.
void CheckWhole(std::span<const std::byte> file) {
    fuzz::Require(At<const etl::FileHeader>(file, 0).LogFile.BuffersWritten * std::size_t{etl::kBufferSize} ==
                  file.size());
    for (std::size_t at = etl::kBufferSize; at < file.size(); at += etl::kBufferSize) {
        const auto header = At<const etl::BufferHeader>(file, at);
        std::size_t end = sizeof(etl::BufferHeader);
        while (end + sizeof(etl::EventHeader) <= std::min(header.SavedOffset, etl::kBufferSize)) {
            const auto size = At<const etl::EventHeader>(file, at + end).Size;
            fuzz::Require(size >= sizeof(etl::EventHeader));
            end += etl::Align(size);
        }
        fuzz::Require(end != sizeof(etl::BufferHeader) && end == header.SavedOffset && header.Offset == end);
    }
}

alignas(8) std::array<std::byte, etl::kFileSize> g_file;

}  // namespace

void fuzz::Run(std::string_view input) {
    const auto bytes = std::as_bytes(std::span(input));
    std::vector<std::byte> file(bytes.begin(), bytes.end());
    Read(file);
    if (file.size() < sizeof(etl::FileHeader)) {
        return;
    }
    // Passes the checks that only tell an event-trace file from others.
    auto& header = At<etl::FileHeader>(file, 0);
    header.Buffer.BufferType = etl::kBufferTypeHeader;
    header.Buffer.BufferSize = header.LogFile.BufferSize = kPiece;
    header.Record.HookId = 0;
    header.Record.HeaderType = etl::kHeaderTypeSystem64;
    header.LogFile.PerfFreq = std::max<std::int64_t>(header.LogFile.PerfFreq, 1);
    Read(file);

    g_file.fill({});
    fuzz::CopyPieces(file, kPiece, g_file, etl::kBufferSize);
    Read(g_file);
    const auto length = etl::EventTraceImage::CompleteLeftover(g_file);
    fuzz::Require(length <= g_file.size());
    if (length != 0) {
        CheckWhole(std::span(g_file).first(length));
    }
    Read(std::span(g_file).first(length));
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
