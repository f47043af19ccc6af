#pragma once

// Stub data: the parameters of one call as bytes, in NDR (C706 14) or NDR64 (MS-RPCE 2.2.5). A table holds
// what differs between the two; a single walk over the procedure's description reads and writes. Any thread.

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "platform/rpc/Bytes.h"
#include "platform/rpc/Interface.h"

namespace platform::rpc {

/// A context handle on the wire. A zero UUID is the null handle.
struct ContextHandle {
    std::uint32_t Attributes = 0;
    rpc::Uuid Uuid;
    bool IsNull() const { return Uuid == rpc::Uuid{}; }
};
static_assert(sizeof(ContextHandle) == 20);

/// One parameter's value. The characters are not owned: they lie in the caller's memory or in the stub data
/// that was read, there perhaps at an odd address.
struct Value {
    std::int64_t Number = 0;         ///< long, hyper, or the length of a counted text in characters
    std::optional<ByteView> Text{};  ///< UTF-16LE of a counted text (nothing: null) or a string with its zero

    /// The text copied out of the bytes; for a string without its zero.
    std::optional<std::u16string> CopyText() const;
    std::u16string CopyString() const;
};

/// The values of one call: the context handle and the parameters after it, in declared order.
struct CallValues {
    ContextHandle Context;
    std::array<Value, kMaxParameters> Parameters;
};

struct TransferSyntax {
    SyntaxId Id;
    std::size_t WordSize;  ///< bytes that a pointer or a count takes, and that its offset is a multiple of
};

/// Both transfer syntaxes in the order in which a client offers them.
inline constexpr std::array<TransferSyntax, 2> kTransferSyntaxes{{
    {.Id = kNdr, .WordSize = 4},
    {.Id = kNdr64, .WordSize = 8},
}};

/// Null for an id that is neither.
const TransferSyntax* FindTransferSyntax(const SyntaxId& id);

/// Appends the stub data of the values that travel in `direction`; it starts at the present end of `out`.
void Marshal(const TransferSyntax& syntax, const Procedure& procedure, Direction direction,
             const CallValues& values, Buffer& out);

/// Reads stub data. Takes no memory that the bytes do not fill: texts are views of `stub`. Surplus bytes are
/// allowed. Throws kBadStubData where bytes are missing or malformed, kInvalidBound for a length that
/// contradicts its array.
void Unmarshal(const TransferSyntax& syntax, const Procedure& procedure, Direction direction, ByteView stub,
               CallValues& values);

/// The called side of one call: reads the in parameters from `request`, calls `routine`, appends the out
/// parameters to `answer`. Texts that the routine sets must live until this returns.
void NdrServerCallAll(const TransferSyntax& syntax, const Procedure& procedure, ByteView request,
                      const std::function<void(CallValues&)>& routine, Buffer& answer);

}  // namespace platform::rpc
