#pragma once

// Event-trace files with small buffers, which a fuzzer changes faster.

#include <cstddef>
#include <cstdint>
#include <span>

namespace fuzz {

/// The size of a small buffer.
inline constexpr std::uint32_t kPiece = 0x400;

/// Makes the header of a file with small buffers pass the checks that only tell an event-trace file from
/// others. `file` is a header at least, and aligned.
void MendHeader(std::span<std::byte> file);

/// Copies the beginnings of a file's buffers to a file with buffers of another size. Both have a whole
/// header.
void CopyPieces(std::span<const std::byte> from, std::uint32_t fromSize, std::span<std::byte> to,
                std::uint32_t toSize);

template <typename T>
T& At(std::span<std::byte> file, std::size_t at) {
    return *reinterpret_cast<T*>(file.data() + at);
}

}  // namespace fuzz
