#pragma once

// Constants of the connection-oriented RPC protocol 5.0 as this system speaks it: Open Group C706 chapter 12
// with the extensions of MS-RPCE. docs/wire.md explains them. Everything sent is little-endian.

#include <array>
#include <cstddef>
#include <cstdint>

namespace platform::rpc {

/// A UUID with its fields as numbers; in memory as on the wire.
struct Uuid {
    std::uint32_t Data1 = 0;
    std::uint16_t Data2 = 0;
    std::uint16_t Data3 = 0;
    std::array<std::uint8_t, 8> Data4{};
    bool operator==(const Uuid&) const = default;
};

/// An interface or a transfer syntax: UUID and version (C706 12.6.3.1, p_syntax_id_t).
struct SyntaxId {
    rpc::Uuid Uuid;
    std::uint16_t Major = 0;
    std::uint16_t Minor = 0;
    bool operator==(const SyntaxId&) const = default;
};
static_assert(sizeof(SyntaxId) == 20);

/// C706 14 (NDR 2.0) and MS-RPCE 2.2.5 (NDR64 1.0).
inline constexpr SyntaxId kNdr{
    {0x8a885d04, 0x1ceb, 0x11c9, {0x9f, 0xe8, 0x08, 0x00, 0x2b, 0x10, 0x48, 0x60}}, 2, 0};
inline constexpr SyntaxId kNdr64{
    {0x71710533, 0xbeba, 0x4937, {0x83, 0x19, 0xb5, 0xdb, 0xef, 0x9c, 0xcc, 0x36}}, 1, 0};

enum class PduType : std::uint8_t {
    Request = 0,
    Response = 2,
    Fault = 3,
    Bind = 11,
    BindAck = 12,
    BindNak = 13,
    AlterContext = 14,
    AlterContextResponse = 15,
    Shutdown = 17,
    CoCancel = 18,
    Orphaned = 19,
};

/// Bits of the header's pfc_flags.
namespace pdu_flag {
inline constexpr std::uint8_t kFirst = 0x01;
inline constexpr std::uint8_t kLast = 0x02;
inline constexpr std::uint8_t kDidNotExecute = 0x20;
inline constexpr std::uint8_t kObject = 0x80;
}  // namespace pdu_flag

inline constexpr std::uint8_t kVersionMajor = 5;
inline constexpr std::uint8_t kVersionMinor = 0;

/// First byte of the data representation: little-endian integers, ASCII.
inline constexpr std::uint8_t kLittleEndian = 0x10;

/// Bytes of the common header, and of it with the head of a request or response.
inline constexpr std::size_t kHeaderSize = 16;
inline constexpr std::size_t kCallHeaderSize = 24;

/// The longest PDU that we send or ask for, and the one that every implementation takes. Bytes.
inline constexpr std::uint16_t kFragmentSize = 5840;
inline constexpr std::uint16_t kSmallestFragmentSize = 1432;

/// Stub data of every fragment but the last is a multiple of this many bytes.
inline constexpr std::size_t kFragmentStep = 8;

/// The longest response or callback that a client puts together. Bytes.
inline constexpr std::size_t kMaxResponseBytes = std::size_t{16} << 20;

/// Results of a bind for each offered syntax (C706 12.6.3.1, p_cont_def_result_t and p_provider_reason_t).
inline constexpr std::uint16_t kAcceptance = 0;
inline constexpr std::uint16_t kProviderRejection = 2;
inline constexpr std::uint16_t kReasonUnknownInterface = 1;
inline constexpr std::uint16_t kReasonUnknownTransferSyntax = 2;

/// Reasons of a bind_nak (MS-RPCE 2.2.2.5).
enum class NakReason : std::uint16_t {
    NotSpecified = 0,
    Congestion = 1,
    LocalLimit = 2,
    Version = 4,
    Authentication = 8,
};

}  // namespace platform::rpc
