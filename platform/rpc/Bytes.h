#pragma once

// Bytes of the wire as numbers, and back. The wire is little-endian, and so is every machine that we build
// for.

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>
#include <span>
#include <type_traits>
#include <utility>
#include <vector>

#include "platform/rpc/Status.h"

namespace platform::rpc {

static_assert(std::endian::native == std::endian::little);

using Bytes = std::vector<std::byte>;
using ByteView = std::span<const std::byte>;

/// How many bytes bring `offset` to a multiple of `alignment`, a power of two.
constexpr std::size_t PaddingTo(std::size_t alignment, std::size_t offset) {
    return (0 - offset) & (alignment - 1);
}

/// Reads from front to back; alignment counts from the start. Throws `whenShort` where bytes are missing.
class Cursor {
  public:
    Cursor(ByteView bytes, Status whenShort) : m_bytes(bytes), m_whenShort(whenShort) {}

    std::size_t Left() const { return m_bytes.size() - m_offset; }

    ByteView Take(std::size_t size) {
        if (size > Left()) {
            throw RpcException(m_whenShort);
        }
        const ByteView taken = m_bytes.subspan(m_offset, size);
        m_offset += size;
        return taken;
    }

    template <typename T>
    T Take(std::size_t alignment = 1) {
        static_assert(std::is_trivially_copyable_v<T>);
        const std::size_t padding = PaddingTo(alignment, m_offset);
        T value;
        std::memcpy(&value, Take(padding + sizeof value).data() + padding, sizeof value);
        return value;
    }

  private:
    ByteView m_bytes;
    std::size_t m_offset = 0;
    Status m_whenShort;
};

/// Returns the end of the copy. As one block: the library's copy of a span goes byte by byte.
inline std::byte* Copy(ByteView bytes, void* to) {
    return std::copy_n(bytes.data(), bytes.size(), static_cast<std::byte*>(to));
}

/// Bytes that are put together. It keeps its memory when it is cleared, and unlike a vector it does not set
/// what its user is about to write.
class Buffer {
  public:
    std::size_t Size() const { return m_size; }
    std::byte* Data() { return m_memory.data(); }
    operator ByteView() const { return {m_memory.data(), m_size}; }

    void Clear() { m_size = 0; }

    /// Adds `size` bytes, for the caller to write, and returns the first; valid until more are added.
    std::byte* Extend(std::size_t size) {
        if (size > m_memory.size() - m_size) {
            m_memory.resize(std::max(m_size + size, m_memory.size() * 2));
        }
        return m_memory.data() + std::exchange(m_size, m_size + size);
    }

  private:
    Bytes m_memory;
    std::size_t m_size = 0;
};

inline void Append(Buffer& out, ByteView bytes) {
    Copy(bytes, out.Extend(bytes.size()));
}

/// Appends the bytes of `value`, which must contain no padding.
template <typename T>
void Append(Buffer& out, const T& value) requires std::is_trivially_copyable_v<T> &&
    (!std::is_convertible_v<T, ByteView>) {
    std::memcpy(out.Extend(sizeof value), &value, sizeof value);
}

/// Overwrites the bytes at `at`, which must exist.
template <typename T>
void Store(std::byte* at, const T& value) {
    static_assert(std::is_trivially_copyable_v<T>);
    std::memcpy(at, &value, sizeof value);
}

}  // namespace platform::rpc
