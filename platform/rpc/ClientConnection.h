#pragma once

// A binding's connection: connects and binds at the first call, then carries one call at a time, callbacks
// included. Knows no arguments; NdrClientCall3 turns those into values and back.

#include <atomic>
#include <functional>
#include <list>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "platform/rpc/Binding.h"
#include "platform/rpc/Ndr.h"
#include "platform/rpc/Pdu.h"
#include "platform/rpc/Socket.h"

namespace platform::rpc {

struct ClientContext {
    ClientConnection* Owner;
    ContextHandle Handle;
};

class ClientConnection {
  public:
    /// `path` of the listening socket; empty when no endpoint was given.
    explicit ClientConnection(std::string path) : m_path(std::move(path)) {}

    /// Sends the request made of `values`, waits for the response, puts its values there, and calls
    /// `received` while they are valid. Any thread; blocks. Throws RpcException. After a failure that leaves
    /// the place in the stream unknown, every later call fails.
    void Call(const InterfaceDescription& interface, const Procedure& procedure, CallValues& values,
              const std::function<void()>& received);

    /// The user whose process listens; nothing until a connection was made. Any thread.
    std::optional<uid_t> Listener() const {
        const auto user = m_listener.load();
        return user >= 0 ? std::optional(static_cast<uid_t>(user)) : std::nullopt;
    }

    /// Only inside `received`. The context is valid until it is closed or the binding is destroyed.
    ClientContext* OpenContext(const ContextHandle& handle) {
        return &m_contexts.emplace_back(ClientContext{this, handle});
    }
    void CloseContext(const ClientContext* context) {
        m_contexts.remove_if([context](const ClientContext& open) { return &open == context; });
    }

  private:
    void Cancel() noexcept;
    void Break() noexcept;
    void Establish(const InterfaceDescription& interface);
    void BindInterface(const InterfaceDescription& interface);
    void Send(Status whenLost);
    Pdu Receive(Status whenLost);
    ByteView Exchange(const InterfaceDescription& interface, const CallValues& sent);
    void AnswerCallback(const InterfaceDescription& interface, const CallValues& sent,
                        const rpc::Call& request);

    const std::string m_path;

    // Any thread: what stops a call that waits. The number is that of m_socket.
    std::atomic<int> m_descriptor = -1;
    std::atomic<bool> m_cancelled = false;
    std::atomic<std::thread::id> m_caller;
    std::atomic<std::int64_t> m_listener = -1;

    // Guarded by m_mutex, which a call holds from beginning to end.
    std::mutex m_mutex;
    FileDescriptor m_socket;
    bool m_bound = false;
    bool m_broken = false;
    /// Receiving is limited in time.
    bool m_isLimited = false;
    const TransferSyntax* m_syntax = nullptr;
    std::uint16_t m_contextId = 0;
    std::uint16_t m_maxTransmit = 0;
    std::uint32_t m_callId = 0;
    PduStream m_stream;
    Reassembly m_reassembly{kMaxResponseBytes};
    Buffer m_message;
    std::list<ClientContext> m_contexts;
};

}  // namespace platform::rpc
