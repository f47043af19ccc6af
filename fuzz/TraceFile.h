#pragma once

// Event-trace files with small buffers, which a fuzzer changes faster.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <type_traits>

#include "platform/diagnostics/EventTraceFormat.h"

namespace fuzz {

/// The size of a small buffer.
inline constexpr std::uint32_t kPiece = 0x400;

/// For reading alone where T is constant. `at` is aligned for T.
template <typename T>
T& At(std::span<std::conditional_t<std::is_const_v<T>, const std::byte, std::byte>> file, std::size_t at) {
    return *reinterpret_cast<T*>(file.data() + at);
}

/// Copies the beginnings of a file's buffers to a file with buffers of another size. Both have a whole
/// header.
inline void CopyPieces(std::span<const std::byte> from, std::uint32_t fromSize, std::span<std::byte> to,
                       std::uint32_t toSize) {
    const auto count =
        std::min<std::size_t>(platform::etl::kBuffersPerFile, (from.size() + fromSize - 1) / fromSize);
    for (std::size_t index = 0; index < count; ++index) {
        const auto piece = from.subspan(index * fromSize);
        std::memcpy(to.data() + index * toSize, piece.data(), std::min<std::size_t>(piece.size(), kPiece));
        auto& size = At<platform::etl::BufferHeader>(to, index * toSize).BufferSize;
        size = size == fromSize ? toSize : size;
    }
    At<platform::etl::FileHeader>(to, 0).LogFile.BufferSize = toSize;
}

}  // namespace fuzz
