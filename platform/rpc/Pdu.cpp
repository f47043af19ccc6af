#include "platform/rpc/Pdu.h"

#include <algorithm>
#include <utility>

namespace platform::rpc {

namespace {

/// Room for a usual exchange; a longer unit gets more.
constexpr std::size_t kFirstRoom = 8192;

constexpr std::size_t kFragmentLengthOffset = 8;

/// Positions of the head of a request or response.
constexpr std::size_t kAllocHintOffset = 16;

void AppendHeader(Bytes& out, PduType type, std::uint8_t flags, std::uint32_t callId) {
    Append(out, kVersionMajor);
    Append(out, kVersionMinor);
    Append(out, type);
    Append(out, flags);
    Append(out, std::uint32_t{kLittleEndian});
    Append(out, std::uint32_t{0});  // fragment length, known later, and authentication length
    Append(out, callId);
}

/// Appends a unit of one fragment whose body `appendBody` appends.
template <typename AppendBody>
void AppendPdu(Bytes& out, PduType type, std::uint8_t flags, std::uint32_t callId, AppendBody appendBody) {
    const std::size_t start = out.size();
    AppendHeader(out, type, static_cast<std::uint8_t>(flags | pdu_flag::kFirst | pdu_flag::kLast), callId);
    appendBody();
    StoreAt(out, start + kFragmentLengthOffset, static_cast<std::uint16_t>(out.size() - start));
}

void StoreCallHeader(std::span<std::byte> fragment, const CallHeader& header, std::uint8_t flags) {
    const std::uint16_t operation = header.Type == PduType::Request ? header.Operation : 0;
    StoreAt(fragment, 0,
            std::array{kVersionMajor, kVersionMinor, static_cast<std::uint8_t>(header.Type), flags});
    StoreAt(fragment, 4, std::uint32_t{kLittleEndian});
    StoreAt(fragment, kFragmentLengthOffset, static_cast<std::uint32_t>(fragment.size()));
    StoreAt(fragment, 12, header.CallId);
    StoreAt(fragment, kAllocHintOffset, static_cast<std::uint32_t>(fragment.size() - kCallHeaderSize));
    StoreAt(fragment, 20, header.ContextId);
    StoreAt(fragment, 22, operation);
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
        const auto length =
            Cursor(ByteView(m_bytes).subspan(m_begin + kFragmentLengthOffset), status::kProtocolError)
                .Take<std::uint16_t>();
        needed = std::max<std::size_t>(needed, length);
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
    Cursor header(bytes, status::kProtocolError);
    const auto major = header.Take<std::uint8_t>();
    const auto minor = header.Take<std::uint8_t>();
    const auto type = header.Take<PduType>();
    const auto flags = header.Take<std::uint8_t>();
    const auto representation = header.Take<std::uint32_t>();
    const auto length = header.Take<std::uint16_t>();
    const auto authLength = header.Take<std::uint16_t>();
    const auto callId = header.Take<std::uint32_t>();
    if (major != kVersionMajor || minor != kVersionMinor || (representation & 0xFF) != kLittleEndian ||
        length < kHeaderSize) {
        throw RpcException(status::kProtocolError);
    }
    if (bytes.size() < length) {
        return std::nullopt;
    }
    m_begin += length;
    return Pdu{type, flags, authLength, callId, bytes.subspan(kHeaderSize, length - kHeaderSize)};
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

void AppendBind(Bytes& out, PduType type, std::uint32_t callId, const BindBody& body) {
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
    in.Align(4);
    const auto count = in.Take<std::uint8_t>();
    in.Take(3);
    for (unsigned i = 0; i < count; ++i) {
        body.Results.push_back({in.Take<std::uint16_t>(), in.Take<std::uint16_t>(), in.Take<SyntaxId>()});
    }
    return body;
}

void AppendBindAck(Bytes& out, PduType type, std::uint32_t callId, const BindAckBody& body) {
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

void AppendBindNak(Bytes& out, std::uint32_t callId, NakReason reason) {
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

void AppendFault(Bytes& out, const CallHeader& call, Status fault, std::uint8_t flags) {
    AppendPdu(out, PduType::Fault, flags, call.CallId, [&] {
        Append(out, std::uint32_t{0});
        Append(out, call.ContextId);
        Append(out, std::uint16_t{0});
        Append(out, fault);
        Append(out, std::uint32_t{0});
    });
}

void BeginCall(Bytes& message) {
    message.assign(kCallHeaderSize, std::byte{});
}

void FinishCall(Bytes& message, const CallHeader& header, std::size_t maxFragment) {
    if (message.size() <= maxFragment) {
        StoreCallHeader(message, header, pdu_flag::kFirst | pdu_flag::kLast);
        return;
    }
    ByteView stub = ByteView(message).subspan(kCallHeaderSize);
    const std::size_t step = (maxFragment - kCallHeaderSize) / kFragmentStep * kFragmentStep;
    Bytes fragments;
    fragments.reserve(stub.size() + (stub.size() / step + 1) * kCallHeaderSize);
    std::uint8_t flags = pdu_flag::kFirst;
    while (!stub.empty()) {
        const ByteView part = stub.first(std::min(step, stub.size()));
        stub = stub.subspan(part.size());
        const std::size_t start = fragments.size();
        fragments.resize(start + kCallHeaderSize);
        Append(fragments, part);
        StoreCallHeader(std::span(fragments).subspan(start), header,
                        stub.empty() ? flags | pdu_flag::kLast : flags);
        flags = 0;
    }
    message.swap(fragments);
}

std::optional<Call> Reassembly::Add(const Pdu& pdu) {
    Cursor in = BodyOf(pdu);
    in.Take<std::uint32_t>();  // a hint on the length that nothing may rely on
    CallHeader header{.Type = pdu.Type, .CallId = pdu.CallId, .ContextId = in.Take<std::uint16_t>()};
    const auto operation = in.Take<std::uint16_t>();
    if (pdu.Type == PduType::Request) {
        header.Operation = operation;
        in.Take((pdu.Flags & pdu_flag::kObject) != 0 ? sizeof(Uuid) : 0);
    }
    const ByteView stub = in.Take(in.Left());
    const bool first = (pdu.Flags & pdu_flag::kFirst) != 0;
    const bool last = (pdu.Flags & pdu_flag::kLast) != 0;
    if (pdu.AuthLength != 0 || first == m_call.has_value()) {
        throw RpcException(status::kProtocolError);
    }
    if (first) {
        m_call = Call{.Header = header};
        m_stub.clear();
        if (last) {
            m_call->Stub = stub;
        }
    } else if (header.Type != m_call->Header.Type || header.CallId != m_call->Header.CallId ||
               header.ContextId != m_call->Header.ContextId || header.Operation != m_call->Header.Operation) {
        throw RpcException(status::kProtocolError);
    }
    if (stub.size() > m_limit - m_stub.size()) {
        m_call->IsTooLong = true;
        m_call->Stub = {};
    }
    if (!(first && last) && !m_call->IsTooLong) {
        Append(m_stub, stub);
        m_call->Stub = m_stub;
    }
    return last ? std::exchange(m_call, std::nullopt) : std::nullopt;
}

}  // namespace platform::rpc
