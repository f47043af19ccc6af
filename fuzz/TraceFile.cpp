#include "fuzz/TraceFile.h"

#include <algorithm>
#include <cstring>

#include "platform/diagnostics/EventTraceFormat.h"

namespace fuzz {

namespace etl = platform::etl;

void MendHeader(std::span<std::byte> file) {
    auto& header = At<etl::FileHeader>(file, 0);
    header.Buffer.BufferType = etl::kBufferTypeHeader;
    header.Buffer.BufferSize = header.LogFile.BufferSize = kPiece;
    header.Record.HookId = 0;
    header.Record.HeaderType = etl::kHeaderTypeSystem64;
    header.LogFile.PerfFreq = std::max<std::int64_t>(header.LogFile.PerfFreq, 1);
}

void CopyPieces(std::span<const std::byte> from, std::uint32_t fromSize, std::span<std::byte> to,
                std::uint32_t toSize) {
    const auto count = std::min<std::size_t>(etl::kBuffersPerFile, (from.size() + fromSize - 1) / fromSize);
    for (std::size_t index = 0; index < count; ++index) {
        const auto piece = from.subspan(index * fromSize);
        std::memcpy(to.data() + index * toSize, piece.data(), std::min<std::size_t>(piece.size(), kPiece));
        auto& size = At<etl::BufferHeader>(to, index * toSize).BufferSize;
        size = size == fromSize ? toSize : size;
    }
    At<etl::FileHeader>(to, 0).LogFile.BufferSize = toSize;
}

}  // namespace fuzz
