#include "platform/rpc/ClientConnection.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "platform/tasks/ThreadPool.h"

namespace platform::rpc {

namespace {

constexpr std::chrono::milliseconds kCloseLimit{2000};

Status StatusOfNak(std::uint16_t reason) {
    switch (static_cast<NakReason>(reason)) {
        case NakReason::Congestion:
        case NakReason::LocalLimit:
            return status::kServerTooBusy;
        case NakReason::Version:
            return status::kRevisionMismatch;
        case NakReason::Authentication:
            return status::kUnknownAuthentication;
        default:
            return status::kCallFailedDidNotExecute;
    }
}

/// The position of the first accepted syntax among those offered.
std::size_t ChooseAccepted(const BindAckBody& ack, const std::vector<BindElement>& offered) {
    if (ack.Results.size() != offered.size()) {
        throw RpcException(status::kProtocolError);
    }
    Status rejected = status::kCallFailedDidNotExecute;
    for (std::size_t i = 0; i < ack.Results.size(); ++i) {
        const BindResult& result = ack.Results[i];
        if (result.Result == kAcceptance) {
            if (result.TransferSyntax != offered[i].TransferSyntaxes.front()) {
                throw RpcException(status::kProtocolError);
            }
            return i;
        }
        if (result.Reason == kReasonUnknownInterface) {
            rejected = status::kUnknownInterface;
        } else if (result.Reason == kReasonUnknownTransferSyntax && rejected != status::kUnknownInterface) {
            rejected = status::kUnsupportedTransferSyntax;
        }
    }
    throw RpcException(rejected);
}

}  // namespace

void ClientConnection::Call(const InterfaceDescription& interface, const Procedure& procedure,
                            CallValues& values, const std::function<void()>& received) {
    // Only a thread's own entry counts for it, so the order in which threads see others' does not matter.
    constexpr auto kRelaxed = std::memory_order_relaxed;
    if (m_caller.load(kRelaxed) == std::this_thread::get_id()) {
        throw RpcException(status::kCallInProgress);
    }
    const BlockingRegion region([this] { Cancel(); });
    const std::lock_guard lock(m_mutex);
    m_caller.store(std::this_thread::get_id(), kRelaxed);
    struct ForgetCaller {
        std::atomic<std::thread::id>& Caller;
        ~ForgetCaller() { Caller.store(std::thread::id(), kRelaxed); }
    } const forget{m_caller};

    if (m_cancelled) {
        throw RpcException(status::kCallCancelled);
    }
    if (m_broken) {
        throw RpcException(status::kServerUnavailable);
    }
    Establish(interface);
    BeginCall(m_message);
    Marshal(*m_syntax, procedure, Direction::In, values, m_message);
    FinishCall(m_message,
               {.Type = PduType::Request,
                .CallId = ++m_callId,
                .ContextId = m_contextId,
                .Operation = static_cast<std::uint16_t>(procedure.Number)},
               m_maxTransmit);
    // Who closes has nothing to wait for: a service that is stuck must not keep the program from ending. A
    // close is usually the last call, so the limit is removed by the next one.
    const bool closes = procedure.PassesContext(Direction::In) && procedure.PassesContext(Direction::Out);
    if (closes != std::exchange(m_isLimited, closes)) {
        LimitReceiving(m_socket.Get(), closes ? kCloseLimit : std::chrono::milliseconds(0));
    }
    Send(status::kCallFailedDidNotExecute);
    const ByteView answer = Exchange(interface, values);
    Unmarshal(*m_syntax, procedure, Direction::Out, answer, values);
    received();
}

/// Runs on the thread that stops the pool, while the call that it cancels may be connecting, sending or
/// receiving. The descriptor stays open until the binding is destroyed, so its number cannot have become
/// another file's.
void ClientConnection::Cancel() noexcept {
    m_cancelled = true;
    if (const int socket = m_descriptor; socket >= 0) {
        shutdown(socket, SHUT_RDWR);
    }
}

void ClientConnection::Break() noexcept {
    m_broken = true;
    shutdown(m_socket.Get(), SHUT_RDWR);
}

void ClientConnection::Establish(const InterfaceDescription& interface) {
    if (m_bound) {
        return;
    }
    if (m_path.empty()) {
        throw RpcException(status::kEndpointNotRegistered);
    }
    if (m_socket.Get() < 0) {
        m_socket = CreateSocket();
        m_descriptor = m_socket.Get();
    }
    Connect(m_socket.Get(), m_path, [this] { return m_cancelled.load(); });
    try {
        // Whoever may create files in the endpoints' directory could pose as the service.
        const uid_t listener = UserOf(m_socket.Get());
        m_listener = listener;
        if (listener != 0 && listener != geteuid()) {
            throw RpcException(status::kMutualAuthenticationFailed);
        }
        BindInterface(interface);
    } catch (...) {
        Break();
        throw;
    }
    m_bound = true;
}

void ClientConnection::BindInterface(const InterfaceDescription& interface) {
    BindBody bind;
    for (const TransferSyntax& syntax : kTransferSyntaxes) {
        bind.Elements.push_back({.ContextId = static_cast<std::uint16_t>(bind.Elements.size()),
                                 .Interface = interface.Id,
                                 .TransferSyntaxes = {syntax.Id}});
        if ((interface.Flags & interface_flag::kHasMultipleTransferSyntaxes) == 0) {
            break;
        }
    }
    m_message.Clear();
    AppendBind(m_message, PduType::Bind, ++m_callId, bind);
    Send(status::kCallFailedDidNotExecute);
    const Pdu answer = Receive(status::kCallFailedDidNotExecute);
    if (answer.CallId != m_callId) {
        throw RpcException(status::kProtocolError);
    }
    if (answer.Type == PduType::BindNak) {
        throw RpcException(StatusOfNak(ReadBindNak(answer)));
    }
    if (answer.Type != PduType::BindAck) {
        throw RpcException(status::kProtocolError);
    }
    const BindAckBody ack = ReadBindAck(answer);
    const std::size_t accepted = ChooseAccepted(ack, bind.Elements);
    if (ack.MaxReceive < kSmallestFragmentSize) {
        throw RpcException(status::kProtocolError);
    }
    m_contextId = bind.Elements[accepted].ContextId;
    m_syntax = &kTransferSyntaxes[accepted];
    m_maxTransmit = std::min(ack.MaxReceive, kFragmentSize);
}

/// Sends m_message.
void ClientConnection::Send(Status whenLost) {
    if (!SendAll(m_socket.Get(), m_message)) {
        Break();
        throw RpcException(m_cancelled ? status::kCallCancelled : whenLost);
    }
}

Pdu ClientConnection::Receive(Status whenLost) {
    while (true) {
        if (const auto pdu = m_stream.Next()) {
            return *pdu;
        }
        const ssize_t received = ReceiveSome(m_socket.Get(), m_stream.Room());
        if (received <= 0) {
            throw RpcException(m_cancelled ? status::kCallCancelled : whenLost);
        }
        m_stream.Received(static_cast<std::size_t>(received));
    }
}

/// Waits for the response to the call that was sent, answers callbacks until then, and returns its stub data.
/// A fault leaves the connection usable, everything else that fails does not.
ByteView ClientConnection::Exchange(const InterfaceDescription& interface, const CallValues& sent) {
    Status fault = status::kOk;
    try {
        while (fault == status::kOk) {
            const Pdu pdu = Receive(status::kCallFailed);
            if (pdu.Type == PduType::Shutdown) {
                continue;
            }
            if (pdu.CallId != m_callId) {
                throw RpcException(status::kProtocolError);
            }
            if (pdu.Type == PduType::Fault) {
                fault = StatusOfFault(ReadFault(pdu));
                m_reassembly.Reset();
            } else if (pdu.Type != PduType::Response && pdu.Type != PduType::Request) {
                throw RpcException(status::kProtocolError);
            } else if (const auto call = m_reassembly.Add(pdu)) {
                if (call->Header.Type == PduType::Request) {
                    AnswerCallback(interface, sent, *call);
                } else if (call->IsTooLong) {
                    fault = status::kStringTooLong;
                } else {
                    return call->Stub;
                }
            }
        }
    } catch (...) {
        Break();
        throw;
    }
    throw RpcException(fault);
}

void ClientConnection::AnswerCallback(const InterfaceDescription& interface, const CallValues& sent,
                                      const rpc::Call& request) {
    if ((interface.Flags & interface_flag::kHasCallbacks) == 0 || request.Header.ContextId != m_contextId) {
        throw RpcException(status::kProtocolError);
    }
    CallHeader header = request.Header;
    header.Type = PduType::Response;
    BeginCall(m_message);
    try {
        const std::size_t number = header.Operation;
        if (number >= interface.Callbacks.size()) {
            throw RpcException(fault::kOperationOutOfRange);
        }
        if (request.IsTooLong) {
            throw RpcException(fault::kRemoteNoMemory);
        }
        NdrServerCallAll(
            *m_syntax, interface.Callbacks[number], request.Stub,
            [&](CallValues& values) { interface.CallbackRoutines[number](sent, values); }, m_message);
        FinishCall(m_message, header, m_maxTransmit);
    } catch (...) {
        const Status fault = CurrentFault();
        m_message.Clear();
        AppendFault(m_message, header, fault, 0);
    }
    Send(status::kCallFailed);
}

}  // namespace platform::rpc
