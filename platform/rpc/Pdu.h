#pragma once

// The protocol's data units as values: reading what arrives, writing what is sent (C706 12.6). Knows no
// sockets. What breaks the protocol throws kProtocolError. Does no locking.

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/rpc/Bytes.h"
#include "platform/rpc/Protocol.h"

namespace platform::rpc {

/// A whole data unit; `Body` is what follows the 16-byte header.
struct Pdu {
    PduType Type;
    std::uint8_t Flags;
    std::uint16_t AuthLength;
    std::uint32_t CallId;
    ByteView Body;
};

/// Cuts a stream of bytes into data units.
class PduStream {
  public:
    /// Where the next received bytes go; never empty. Invalidates what Next returned.
    std::span<std::byte> Room();
    void Received(std::size_t size) { m_end += size; }

    /// The next whole unit, a view into the stream; nothing while bytes of it are missing.
    std::optional<Pdu> Next();

    /// True between two units.
    bool IsEmpty() const { return m_begin == m_end; }

  private:
    Bytes m_bytes;
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
};

/// One presentation context that a client offers.
struct BindElement {
    std::uint16_t ContextId = 0;
    SyntaxId Interface{};
    std::vector<SyntaxId> TransferSyntaxes{};
};

/// bind and alter_context.
struct BindBody {
    std::uint16_t MaxTransmit = kFragmentSize;
    std::uint16_t MaxReceive = kFragmentSize;
    std::uint32_t AssociationGroup = 0;
    std::vector<BindElement> Elements{};
};

struct BindResult {
    std::uint16_t Result = kAcceptance;
    std::uint16_t Reason = 0;
    SyntaxId TransferSyntax{};
};

/// bind_ack and alter_context_resp.
struct BindAckBody {
    std::uint16_t MaxTransmit = kFragmentSize;
    std::uint16_t MaxReceive = kFragmentSize;
    std::uint32_t AssociationGroup = 0;
    std::vector<BindResult> Results{};
};

BindBody ReadBind(const Pdu& pdu);
BindAckBody ReadBindAck(const Pdu& pdu);
std::uint16_t ReadBindNak(const Pdu& pdu);

/// The status in a fault, as sent.
Status ReadFault(const Pdu& pdu);

void AppendBind(Buffer& out, PduType type, std::uint32_t callId, const BindBody& body);
void AppendBindAck(Buffer& out, PduType type, std::uint32_t callId, const BindAckBody& body);
void AppendBindNak(Buffer& out, std::uint32_t callId, NakReason reason);

/// What a request or response says beside its stub data. A response has no operation number.
struct CallHeader {
    PduType Type = PduType::Request;
    std::uint32_t CallId = 0;
    std::uint16_t ContextId = 0;
    std::uint16_t Operation = 0;
};

void AppendFault(Buffer& out, const CallHeader& call, Status fault, std::uint8_t flags);

/// Starts a request or response in `message`: room for the header, after which the stub data is appended.
void BeginCall(Buffer& message);

/// Completes `message` to be sent: writes the header, or cuts it into fragments of at most `maxFragment`
/// bytes.
void FinishCall(Buffer& message, const CallHeader& header, std::size_t maxFragment);

/// A request or response put together. `Stub` is a view of the unit that came last or of the reassembly.
struct Call {
    CallHeader Header;
    ByteView Stub{};
    bool IsTooLong = false;  ///< the stub data went over the limit; it may be missing
};

/// Puts fragments together.
class Reassembly {
  public:
    explicit Reassembly(std::size_t limit) : m_limit(limit) {}

    /// The call, when `pdu` (a request or response) completes it. Takes no more memory than has arrived.
    std::optional<Call> Add(const Pdu& pdu);

    /// Forgets what has been put together.
    void Reset() { m_call.reset(); }

    bool IsEmpty() const { return !m_call; }

  private:
    const std::size_t m_limit;
    std::optional<Call> m_call;
    Buffer m_stub;
};

}  // namespace platform::rpc
