#include "platform/rpc/Pdu.h"

#include <algorithm>
#include <utility>

namespace platform::rpc {

namespace {

/// Room for a usual exchange; a longer unit gets more.
constexpr std::size_t kFirstRoom = 8192;

/// What every unit begins with (C706 12.6.3.1).
struct CommonHeader {
    std::uint8_t Major = kVersionMajor;
    std::uint8_t Minor = kVersionMinor;
    PduType Type;
    std::uint8_t Flags;
    std::uint32_t Representation = kLittleEndian;
    std::uint16_t FragmentLength = 0;
    std::uint16_t AuthLength = 0;
    std::uint32_t CallId;
};
static_assert(sizeof(CommonHeader) == kHeaderSize);

/// What follows in a request or response (C706 12.6.4.9, 12.6.4.10), in a response with 0 for the operation.
struct CallHeaderTail {
    std::uint32_t AllocHint;  ///< nothing may rely on it
    std::uint16_t ContextId;
    std::uint16_t Operation;
};
static_assert(kHeaderSize + sizeof(CallHeaderTail) == kCallHeaderSize);

/// Appends a unit of one fragment whose body `appendBody` appends.
template <typename AppendBody>
void AppendPdu(Buffer& out, PduType type, std::uint8_t flags, std::uint32_t callId, AppendBody appendBody) {
    const std::size_t start = out.Size();
    CommonHeader header{.Type = type, .Flags = flags, .CallId = callId};
    header.Flags |= pdu_flag::kFirst | pdu_flag::kLast;
    out.Extend(sizeof header);
    appendBody();
    header.FragmentLength = static_cast<std::uint16_t>(out.Size() - start);
    Store(out.Data() + start, header);
}

/// Writes the header of a fragment of `size` bytes.
void StoreCallHeader(std::byte* fragment, std::size_t size, const CallHeader& header, std::uint8_t flags) {
    Store(fragment, CommonHeader{.Type = header.Type,
                                 .Flags = flags,
                                 .FragmentLength = static_cast<std::uint16_t>(size),
                                 .CallId = header.CallId});
    Store(fragment + kHeaderSize,
          CallHeaderTail{.AllocHint = static_cast<std::uint32_t>(size - kCallHeaderSize),
                         .ContextId = header.ContextId,
                         .Operation = header.Type == PduType::Request ? header.Operation : std::uint16_t{0}});
}

Cursor BodyOf(const Pdu& pdu) {
    return {pdu.Body, status::kProtocolError};
}

}  // namespace

std::span<std::byte> PduStream::Room() {
    if (IsEmpty()) {
        m_begin = m_end = 0;
    }
    std::size_t needed = kFirstRoom;
    if (m_end - m_begin >= kHeaderSize) {
        const auto header =
            Cursor(ByteView(m_bytes).subspan(m_begin), status::kProtocolError).Take<CommonHeader>();
        needed = std::max<std::size_t>(needed, header.FragmentLength);
    }
    if (m_begin + needed > m_bytes.size()) {
        std::ranges::copy(std::span(m_bytes).subspan(m_begin, m_end - m_begin), m_bytes.begin());
        m_end -= m_begin;
        m_begin = 0;
        m_bytes.resize(std::max(needed, m_bytes.size()));
    }
    return std::span(m_bytes).subspan(m_end);
}

std::optional<Pdu> PduStream::Next() {
    const ByteView bytes = ByteView(m_bytes).subspan(m_begin, m_end - m_begin);
    if (bytes.size() < kHeaderSize) {
        return std::nullopt;
    }
    const auto header = Cursor(bytes, status::kProtocolError).Take<CommonHeader>();
    const std::size_t length = header.FragmentLength;
    if (header.Major != kVersionMajor || header.Minor != kVersionMinor ||
        (header.Representation & 0xFF) != kLittleEndian || length < kHeaderSize) {
        throw RpcException(status::kProtocolError);
    }
    if (bytes.size() < length) {
        return std::nullopt;
    }
    m_begin += length;
    return Pdu{header.Type, header.Flags, header.AuthLength, header.CallId,
               bytes.subspan(kHeaderSize, length - kHeaderSize)};
}

BindBody ReadBind(const Pdu& pdu) {
    Cursor in = BodyOf(pdu);
    BindBody body;
    body.MaxTransmit = in.Take<std::uint16_t>();
    body.MaxReceive = in.Take<std::uint16_t>();
    body.AssociationGroup = in.Take<std::uint32_t>();
    const auto count = in.Take<std::uint8_t>();
    in.Take(3);
    for (unsigned i = 0; i < count; ++i) {
        BindElement element{.ContextId = in.Take<std::uint16_t>()};
        const auto syntaxes = in.Take<std::uint8_t>();
        in.Take(1);
        element.Interface = in.Take<SyntaxId>();
        for (unsigned j = 0; j < syntaxes; ++j) {
            element.TransferSyntaxes.push_back(in.Take<SyntaxId>());
        }
        body.Elements.push_back(std::move(element));
    }
    return body;
}

void AppendBind(Buffer& out, PduType type, std::uint32_t callId, const BindBody& body) {
    AppendPdu(out, type, 0, callId, [&] {
        Append(out, body.MaxTransmit);
        Append(out, body.MaxReceive);
        Append(out, body.AssociationGroup);
        Append(out, static_cast<std::uint32_t>(body.Elements.size()));
        for (const auto& element : body.Elements) {
            Append(out, element.ContextId);
            Append(out, static_cast<std::uint16_t>(element.TransferSyntaxes.size()));
            Append(out, element.Interface);
            for (const auto& syntax : element.TransferSyntaxes) {
                Append(out, syntax);
            }
        }
    });
}

BindAckBody ReadBindAck(const Pdu& pdu) {
    Cursor in = BodyOf(pdu);
    BindAckBody body;
    body.MaxTransmit = in.Take<std::uint16_t>();
    body.MaxReceive = in.Take<std::uint16_t>();
    body.AssociationGroup = in.Take<std::uint32_t>();
    in.Take(in.Take<std::uint16_t>());  // secondary address
    const auto count = in.Take<std::uint8_t>(4);
    in.Take(3);
    for (unsigned i = 0; i < count; ++i) {
        body.Results.push_back({in.Take<std::uint16_t>(), in.Take<std::uint16_t>(), in.Take<SyntaxId>()});
    }
    return body;
}

void AppendBindAck(Buffer& out, PduType type, std::uint32_t callId, const BindAckBody& body) {
    AppendPdu(out, type, 0, callId, [&] {
        Append(out, body.MaxTransmit);
        Append(out, body.MaxReceive);
        Append(out, body.AssociationGroup);
        Append(out, std::uint32_t{0});  // no secondary address, and padding
        Append(out, static_cast<std::uint32_t>(body.Results.size()));
        for (const auto& result : body.Results) {
            Append(out, result.Result);
            Append(out, result.Reason);
            Append(out, result.TransferSyntax);
        }
    });
}

std::uint16_t ReadBindNak(const Pdu& pdu) {
    return BodyOf(pdu).Take<std::uint16_t>();
}

void AppendBindNak(Buffer& out, std::uint32_t callId, NakReason reason) {
    AppendPdu(out, PduType::BindNak, 0, callId, [&] {
        Append(out, reason);
        Append(out, std::array<std::uint8_t, 3>{1, kVersionMajor, kVersionMinor});
    });
}

Status ReadFault(const Pdu& pdu) {
    Cursor in = BodyOf(pdu);
    in.Take(kCallHeaderSize - kHeaderSize);
    return in.Take<Status>();
}

void AppendFault(Buffer& out, const CallHeader& call, Status fault, std::uint8_t flags) {
    AppendPdu(out, PduType::Fault, flags, call.CallId, [&] {
        Append(out, std::uint32_t{0});
        Append(out, call.ContextId);
        Append(out, std::uint16_t{0});
        Append(out, fault);
        Append(out, std::uint32_t{0});
    });
}

void BeginCall(Buffer& message) {
    message.Clear();
    message.Extend(kCallHeaderSize);
}

void FinishCall(Buffer& message, const CallHeader& header, std::size_t maxFragment) {
    if (message.Size() <= maxFragment) {
        StoreCallHeader(message.Data(), message.Size(), header, pdu_flag::kFirst | pdu_flag::kLast);
        return;
    }
    ByteView stub = ByteView(message).subspan(kCallHeaderSize);
    const std::size_t step = (maxFragment - kCallHeaderSize) / kFragmentStep * kFragmentStep;
    const std::size_t count = (stub.size() + step - 1) / step;
    Buffer fragments;
    std::byte* fragment = fragments.Extend(stub.size() + count * kCallHeaderSize);
    std::uint8_t flags = pdu_flag::kFirst;
    while (!stub.empty()) {
        const ByteView part = stub.first(std::min(step, stub.size()));
        stub = stub.subspan(part.size());
        StoreCallHeader(fragment, kCallHeaderSize + part.size(), header,
                        stub.empty() ? flags | pdu_flag::kLast : flags);
        fragment = Copy(part, fragment + kCallHeaderSize);
        flags = 0;
    }
    message = std::move(fragments);
}

std::optional<Call> Reassembly::Add(const Pdu& pdu) {
    Cursor in = BodyOf(pdu);
    const auto head = in.Take<CallHeaderTail>();
    CallHeader header{.Type = pdu.Type, .CallId = pdu.CallId, .ContextId = head.ContextId};
    if (pdu.Type == PduType::Request) {
        header.Operation = head.Operation;
        in.Take((pdu.Flags & pdu_flag::kObject) != 0 ? sizeof(Uuid) : 0);
    }
    const ByteView stub = in.Take(in.Left());
    const bool first = (pdu.Flags & pdu_flag::kFirst) != 0;
    const bool last = (pdu.Flags & pdu_flag::kLast) != 0;
    if (pdu.AuthLength != 0 || first == m_call.has_value()) {
        throw RpcException(status::kProtocolError);
    }
    if (first && last) {
        return Call{.Header = header, .Stub = stub, .IsTooLong = stub.size() > m_limit};
    }
    if (first) {
        m_call = Call{.Header = header};
        m_stub.Clear();
    } else if (header.Type != m_call->Header.Type || header.CallId != m_call->Header.CallId ||
               header.ContextId != m_call->Header.ContextId || header.Operation != m_call->Header.Operation) {
        throw RpcException(status::kProtocolError);
    }
    if (stub.size() > m_limit - m_stub.Size()) {
        m_call->IsTooLong = true;
        m_call->Stub = {};
    }
    if (!m_call->IsTooLong) {
        Append(m_stub, stub);
        m_call->Stub = m_stub;
    }
    return last ? std::exchange(m_call, std::nullopt) : std::nullopt;
}

}  // namespace platform::rpc
