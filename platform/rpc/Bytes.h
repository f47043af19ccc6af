#pragma once

// Bytes of the wire as numbers, and back. The wire is little-endian, and so is every machine that we build
// for.

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>
#include <span>
#include <type_traits>
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
    T Take() {
        static_assert(std::is_trivially_copyable_v<T>);
        T value;
        std::memcpy(&value, Take(sizeof value).data(), sizeof value);
        return value;
    }

    void Align(std::size_t alignment) { Take(PaddingTo(alignment, m_offset)); }

  private:
    ByteView m_bytes;
    std::size_t m_offset = 0;
    Status m_whenShort;
};

/// Returns the end of the copy. As one block: the library's copy of a span goes byte by byte.
inline std::byte* Copy(ByteView bytes, void* to) {
    return std::copy_n(bytes.data(), bytes.size(), static_cast<std::byte*>(to));
}

inline void Append(Bytes& out, ByteView bytes) {
    out.insert(out.end(), bytes.begin(), bytes.end());
}

/// Appends the bytes of `value`, which must contain no padding.
template <typename T>
void Append(Bytes& out, const T& value) requires std::is_trivially_copyable_v<T> &&
    (!std::is_convertible_v<T, ByteView>) {
    Append(out, std::as_bytes(std::span(&value, 1)));
}

/// Overwrites the bytes at `offset`, which must exist.
template <typename T>
void StoreAt(std::span<std::byte> out, std::size_t offset, const T& value) {
    static_assert(std::is_trivially_copyable_v<T>);
    std::memcpy(out.subspan(offset, sizeof value).data(), &value, sizeof value);
}

}  // namespace platform::rpc
