#pragma once

// The serving side: listens at endpoints, answers an interface's procedures. Each connection that is served
// has a thread of its own, so a slow, silent or hostile client delays no other. Their number is limited, per
// user and in total; a connection that is not served is answered by the thread that accepts.

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/rpc/Interface.h"
#include "platform/rpc/Socket.h"
#include "platform/rpc/Status.h"

namespace platform::rpc {

class Refusals;
class ServerConnection;
struct ServerShared;

/// One call while a procedure answers it. Used on the connection's thread, inside the procedure. `parameter`
/// counts the parameters after the handle from 0, a counted text as one.
class ServerCall {
  public:
    ServerCall(ServerConnection& connection, const rpc::Procedure& procedure, CallValues& values,
               std::shared_ptr<void> context);

    unsigned Procedure() const { return m_procedure.Number; }
    const SocketCredentials& Caller() const;

    std::int32_t Long(std::size_t parameter) const;
    std::int64_t Hyper(std::size_t parameter) const;

    /// A counted text that the client sent, with the terminating zero if it sent one; nothing for null.
    const std::optional<std::u16string>& Text(std::size_t parameter) const { return m_inTexts[parameter]; }

    /// Returns a counted text, its length counting the terminating zero that is added here; nothing for null.
    /// What is never set returns as null.
    void SetText(std::size_t parameter, std::optional<std::u16string> text);

    /// Returns a counted text of exactly these characters with any length, also one that contradicts them.
    void SetRawText(std::size_t parameter, std::int32_t length, std::optional<std::u16string> characters);

    /// Calls the client back (its callback 0) and waits for the answer. Throws RpcException.
    void InvokeCallback(std::int32_t code, std::u16string_view text, std::int64_t address);

    /// The state behind the context handle that the client sent; null in a procedure that opens one.
    const std::shared_ptr<void>& Context() const { return m_context; }

    /// In a procedure that passes the handle out: opens a context, or closes it with null. The state goes
    /// with its last reference: when it is closed, or when the client's last connection closes.
    void SetContext(std::shared_ptr<void> context) { m_context = std::move(context); }

  private:
    ServerConnection& m_connection;
    const rpc::Procedure& m_procedure;
    CallValues& m_values;
    std::shared_ptr<void> m_context;
    std::array<std::optional<std::u16string>, kMaxParameters> m_inTexts;
    std::array<std::optional<std::u16string>, kMaxParameters> m_outTexts;
};

/// A procedure's body. It may block; it throws RpcException to send that status as a fault.
using ServerProcedure = std::function<void(ServerCall&)>;

struct ServerOptions {
    /// Whether a caller may call; asked once per connection on the thread in Run, which accepts no other one
    /// until it returns. The calls of one that may not fail with status 5. Empty: everybody may.
    std::function<bool(const SocketCredentials&)> Accept{};

    std::size_t MaxRequestBytes = std::size_t{1} << 20;

    /// Connections that are served at once. Calls on further ones fail with status 1723.
    std::size_t MaxConnections = 1024;
    std::size_t MaxConnectionsPerUser = 32;

    /// Connections that are kept at once until they have got their refusal; beyond that the oldest is closed
    /// without it.
    std::size_t MaxRefusals = 128;

    /// Connections of one association share this.
    std::size_t MaxContextsPerConnection = 8;

    /// Of answers that a client has not read yet, per connection; a longer answer waits for its reader. The
    /// kernel takes up to twice as many. 0: the system's default.
    int MaxUnreadBytes = 0;

    /// Of one user, all connections together, a new connection counting as one; what goes over fails with
    /// status 1723. 0: no limit.
    unsigned MaxCallsPerSecond = 0;

    /// Closes a connection that says nothing and holds no context, that stops in the middle of a message, or
    /// that does not read its answer, for this long. 0: never.
    std::chrono::milliseconds IdleClose{30'000};
};

class Server {
  public:
    /// One procedure for each of the interface's; `interface` must outlive the server.
    Server(const InterfaceDescription& interface, std::vector<ServerProcedure> procedures,
           ServerOptions options = {});

    /// Run must not be running.
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    /// Before Run. Listens at an endpoint of EndpointDirectory(), which is created (0755) if missing.
    /// Replaces a socket that nobody listens on and refuses to take one from a running service. Any user may
    /// connect. Throws a platform exception, or RpcException for an endpoint name that cannot be one.
    void Listen(std::u16string_view endpoint);

    /// Before Run. Takes over a socket that listens already (socket activation) and closes it at the end.
    void Adopt(int listeningSocket);

    /// Serves until Stop; then closes all connections, waits for the procedures that are running, and
    /// returns.
    void Run();

    /// Ends Run, also one that has yet to begin. Any thread, and any signal handler.
    void Stop() noexcept;

    /// Any thread. Connections include those that are being refused.
    std::size_t OpenContexts() const;
    std::size_t Connections() const { return m_connections; }

  private:
    struct ServedConnection;

    bool AcceptWaiting(int listener);
    void Admit(FileDescriptor socket);
    void EndServed() noexcept;

    const std::unique_ptr<ServerShared> m_shared;
    FileDescriptor m_doorbell;
    std::atomic<bool> m_stopping = false;
    std::atomic<std::size_t> m_connections = 0;

    // The thread in Run.
    std::list<ListeningSocket> m_listening;
    std::list<FileDescriptor> m_adopted;
    std::list<ServedConnection> m_served;
    const std::unique_ptr<Refusals> m_refusals;
};

}  // namespace platform::rpc
