#include "platform/rpc/ServerConnection.h"

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "platform/core/DebugOutput.h"
#include "platform/core/Text.h"

namespace platform::rpc {

namespace {

bool Serves(const SyntaxId& ours, const SyntaxId& asked) {
    return ours.Uuid == asked.Uuid && ours.Major == asked.Major && ours.Minor >= asked.Minor;
}

}  // namespace

ServerConnection::ServerConnection(ServerShared& shared, FileDescriptor socket,
                                   const SocketCredentials& caller, Admitted admitted)
    : m_shared(shared),
      m_socket(std::move(socket)),
      m_caller(caller),
      m_admitted(admitted),
      m_reassembly(admitted == Admitted::Serve ? shared.Options.MaxRequestBytes : 0) {
    LimitWaits(m_socket.Get(), shared.Options.IdleClose);
    if (shared.Options.MaxUnreadBytes != 0) {
        LimitSendBuffer(m_socket.Get(), shared.Options.MaxUnreadBytes);
    }
}

void ServerConnection::Run() noexcept {
    try {
        while (const auto pdu = Receive()) {
            if (!Handle(*pdu)) {
                break;
            }
        }
    } catch (const std::exception& exception) {
        OutputDebugStringW(u"rpc: connection of user " + ToText(m_caller.Uid) + u" closed: " +
                           FromUtf8(exception.what()));
    }
    m_association.reset();
    Shutdown();
}

bool ServerConnection::HandleArrived() noexcept {
    try {
        const ssize_t received = ReceiveSome(m_socket.Get(), m_stream.Room());
        if (received <= 0) {
            return received < 0 && errno == EAGAIN;
        }
        m_stream.Received(static_cast<std::size_t>(received));
        while (const auto pdu = m_stream.Next()) {
            if (!Handle(*pdu)) {
                return false;
            }
        }
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

void ServerConnection::Shutdown() noexcept {
    shutdown(m_socket.Get(), SHUT_RDWR);
}

bool ServerConnection::MayStaySilent() const {
    return m_stream.IsEmpty() && m_reassembly.IsEmpty() && m_association != nullptr &&
           m_association->OpenContexts() != 0;
}

/// A limit that is set costs a timer of the kernel each time that the connection waits.
void ServerConnection::LimitSilence() {
    const bool isLimited = !MayStaySilent();
    if (isLimited != std::exchange(m_silenceIsLimited, isLimited)) {
        LimitReceiving(m_socket.Get(), isLimited ? m_shared.Options.IdleClose : std::chrono::milliseconds(0));
    }
}

/// The next unit; nothing when the client has ended or was silent for too long.
std::optional<Pdu> ServerConnection::Receive() {
    while (true) {
        if (const auto pdu = m_stream.Next()) {
            return pdu;
        }
        LimitSilence();
        const ssize_t received = ReceiveSome(m_socket.Get(), m_stream.Room());
        if (received > 0) {
            m_stream.Received(static_cast<std::size_t>(received));
        } else if (received == 0 || errno != EAGAIN || !MayStaySilent()) {
            return std::nullopt;
        }
    }
}

/// False to close the connection.
bool ServerConnection::Handle(const Pdu& pdu) {
    switch (pdu.Type) {
        case PduType::Bind:
        case PduType::AlterContext:
            return Negotiate(pdu);
        case PduType::Request: {
            if (m_association == nullptr) {
                throw RpcException(status::kProtocolError);
            }
            const auto call = m_reassembly.Add(pdu);
            return !call || Serve(*call);
        }
        case PduType::CoCancel:
        case PduType::Orphaned:
            return true;
        default:
            throw RpcException(status::kProtocolError);
    }
}

bool ServerConnection::Refuse(const Pdu& pdu, NakReason reason) {
    m_message.Clear();
    AppendBindNak(m_message, pdu.CallId, reason);
    Send();
    return false;
}

bool ServerConnection::Negotiate(const Pdu& pdu) {
    const bool isBind = pdu.Type == PduType::Bind;
    if (isBind != (m_association == nullptr) || !m_reassembly.IsEmpty()) {
        throw RpcException(status::kProtocolError);
    }
    if (m_admitted == Admitted::TooMany) {
        return Refuse(pdu, NakReason::LocalLimit);
    }
    if (pdu.AuthLength != 0) {
        return Refuse(pdu, NakReason::Authentication);
    }
    const BindBody body = ReadBind(pdu);
    if (isBind) {
        if (body.MaxReceive < kSmallestFragmentSize) {
            return Refuse(pdu, NakReason::NotSpecified);
        }
        m_association = m_shared.Associations.Join(body.AssociationGroup, m_caller.Uid);
        if (m_association == nullptr) {
            return Refuse(pdu, NakReason::NotSpecified);
        }
        m_maxTransmit = std::min(body.MaxReceive, kFragmentSize);
    }
    BindAckBody ack{.MaxTransmit = m_maxTransmit, .AssociationGroup = m_association->Group()};
    ack.Results.assign(body.Elements.size(),
                       {.Result = kProviderRejection, .Reason = kReasonUnknownInterface});
    for (const ServerShared::Served& served : m_shared.Interfaces) {
        Choose(served, body, ack.Results);
    }
    m_message.Clear();
    AppendBindAck(m_message, isBind ? PduType::BindAck : PduType::AlterContextResponse, pdu.CallId, ack);
    return Send();
}

/// Accepts one of the syntaxes that are offered for the interface: NDR64 if it is among them, else NDR.
void ServerConnection::Choose(const ServerShared::Served& served, const BindBody& body,
                              std::vector<BindResult>& results) {
    for (std::size_t i = 0; i < results.size(); ++i) {
        if (Serves(served.Interface.Id, body.Elements[i].Interface)) {
            results[i].Reason = kReasonUnknownTransferSyntax;
        }
    }
    for (const SyntaxId& preferred : {kNdr64, kNdr}) {
        for (std::size_t i = 0; i < results.size(); ++i) {
            const BindElement& element = body.Elements[i];
            if (Serves(served.Interface.Id, element.Interface) &&
                std::ranges::find(element.TransferSyntaxes, preferred) != element.TransferSyntaxes.end()) {
                m_presentations[element.ContextId] = {&served, FindTransferSyntax(preferred)};
                results[i] = {.TransferSyntax = preferred};
                return;
            }
        }
    }
}

bool ServerConnection::Serve(const Call& request) {
    m_call = request.Header;
    m_executed = false;
    BeginCall(m_message);
    try {
        Dispatch(request);
        CallHeader header = m_call;
        header.Type = PduType::Response;
        FinishCall(m_message, header, m_maxTransmit);
    } catch (...) {
        const Status fault = CurrentFault();
        m_message.Clear();
        AppendFault(m_message, m_call, fault, m_executed ? 0 : pdu_flag::kDidNotExecute);
    }
    return !m_lost && Send() && m_admitted == Admitted::Serve;
}

void ServerConnection::Dispatch(const Call& request) {
    if (m_admitted != Admitted::Serve) {
        throw RpcException(status::kAccessDenied);
    }
    const auto presentation = m_presentations.find(m_call.ContextId);
    if (presentation == m_presentations.end()) {
        throw RpcException(fault::kInvalidPresentationContext);
    }
    const auto& [served, syntax] = presentation->second;
    if (m_call.Operation >= served->Interface.Procedures.size()) {
        throw RpcException(fault::kOperationOutOfRange);
    }
    if (request.IsTooLong) {
        throw RpcException(fault::kRemoteNoMemory);
    }
    if (!m_shared.Admission.TakeCall(m_caller.Uid)) {
        throw RpcException(fault::kServerTooBusy);
    }
    const Procedure& procedure = served->Interface.Procedures[m_call.Operation];
    CallValues values;
    Unmarshal(*syntax, procedure, Direction::In, request.Stub, values);
    // Owns the texts that are returned, so it lives until they are written.
    ServerCall call(m_caller, procedure, values, m_callBack);
    RunProcedure(served->Procedures[m_call.Operation], procedure, values, call);
    Marshal(*syntax, procedure, Direction::Out, values, m_message);
}

void ServerConnection::RunProcedure(const ServerProcedure& body, const Procedure& procedure,
                                    CallValues& values, ServerCall& call) {
    const ContextHandle handle = values.Context;
    const bool passedIn = procedure.PassesContext(Direction::In);
    if (passedIn) {
        call.SetContext(m_association->Find(handle));
    }
    const void* const before = call.Context().get();
    m_executed = true;
    body(call);
    if (!procedure.PassesContext(Direction::Out) || call.Context().get() == before) {
        return;
    }
    values.Context = call.Context() != nullptr ? m_association->Open(call.Context()) : ContextHandle{};
    if (passedIn) {
        m_association->Close(handle);
    }
}

void ServerConnection::InvokeCallback(const CallValues& values) {
    const auto& [served, syntax] = m_presentations.at(m_call.ContextId);
    Buffer message;
    BeginCall(message);
    Marshal(*syntax, served->Interface.Callbacks.front(), Direction::In, values, message);
    CallHeader header = m_call;
    header.Operation = 0;
    FinishCall(message, header, m_maxTransmit);
    m_lost = true;
    if (!SendAll(m_socket.Get(), message)) {
        throw RpcException(status::kCallFailed);
    }
    while (const auto pdu = Receive()) {
        if (pdu->CallId != m_call.CallId) {
            break;
        }
        if (pdu->Type == PduType::Fault) {
            const Status fault = StatusOfFault(ReadFault(*pdu));
            m_reassembly.Reset();
            m_lost = false;
            throw RpcException(fault);
        }
        if (pdu->Type == PduType::Response && m_reassembly.Add(*pdu)) {
            m_lost = false;
            return;
        }
        if (pdu->Type != PduType::Response && pdu->Type != PduType::CoCancel &&
            pdu->Type != PduType::Orphaned) {
            break;
        }
    }
    throw RpcException(status::kCallFailed);
}

bool ServerConnection::Send() {
    return SendAll(m_socket.Get(), m_message);
}

}  // namespace platform::rpc
