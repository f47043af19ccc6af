#pragma once

// The description of an interface: what a stub needs to know, as constants. One description drives client,
// callback and server, in both transfer syntaxes. Constant data, any thread.

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/rpc/Protocol.h"

namespace platform::rpc {

struct CallValues;

enum class Direction : std::uint8_t { In = 1, Out = 2 };

enum class Kind : std::uint8_t {
    None,         ///< ends the list of parameters
    Long,         ///< 32-bit signed, by value
    Hyper,        ///< 64-bit signed, by value
    CountedText,  ///< two parameters: a length by reference, a nullable array of characters that it sizes
    String,       ///< zero-terminated text by reference
};

struct Parameter {
    rpc::Kind Kind = Kind::None;
    rpc::Direction Direction = Direction::In;
};

/// What a client names its server by: the binding itself, the open context, or nothing (a callback).
enum class Handle : std::uint8_t { Callback, Binding, Context };

/// Bits that say how a procedure passes the context handle, which always comes first.
namespace context_flag {
inline constexpr std::uint8_t kCannotBeNull = 0x01;
inline constexpr std::uint8_t kAlways = 0x04;
inline constexpr std::uint8_t kOut = 0x20;
inline constexpr std::uint8_t kIn = 0x40;
inline constexpr std::uint8_t kThroughPointer = 0x80;
}  // namespace context_flag

inline constexpr std::size_t kMaxParameters = 4;

/// A procedure that returns nothing.
struct Procedure {
    unsigned Number = 0;
    rpc::Handle Handle = Handle::Callback;
    std::uint8_t ContextFlags = 0;
    std::array<Parameter, kMaxParameters> Parameters{};

    constexpr bool PassesContext(Direction direction) const {
        return (ContextFlags & (direction == Direction::In ? context_flag::kIn : context_flag::kOut)) != 0;
    }
};

/// Bits of InterfaceDescription::Flags.
namespace interface_flag {
inline constexpr std::uint32_t kHasMultipleTransferSyntaxes = 0x02000000;
inline constexpr std::uint32_t kHasCallbacks = 0x04000000;
}  // namespace interface_flag

struct InterfaceDescription {
    SyntaxId Id;
    std::uint32_t Flags = 0;
    std::span<const Procedure> Procedures;
    std::span<const Procedure> Callbacks;

    /// The client's own routine for each callback; runs on the thread that is in the outer call, which sent
    /// `sent`. Throws RpcException to answer with a fault.
    std::span<void (*const)(const CallValues& sent, CallValues& values)> CallbackRoutines;

    /// Memory of texts that a client's call returns. `Allocate` takes bytes and returns null when there is
    /// none.
    void* (*Allocate)(std::size_t bytes) = nullptr;
    void (*Free)(void* block) = nullptr;
};

}  // namespace platform::rpc
