#pragma once

// The serving side: listens at endpoints, answers an interface's procedures. Each connection that is served
// has a thread of its own, so a slow, silent or hostile client delays no other. Their number is limited, per
// user and in total; a connection that is not served is answered by the thread that accepts.

#include <atomic>
#include <cstddef>
#include <list>
#include <memory>
#include <string_view>
#include <vector>

#include "platform/rpc/Interface.h"
#include "platform/rpc/ServerCall.h"
#include "platform/rpc/ServerOptions.h"
#include "platform/rpc/Socket.h"

namespace platform::rpc {

class Refusals;
struct ServerShared;

class Server {
  public:
    /// One procedure for each of the interface's; `interface` must outlive the server.
    Server(const InterfaceDescription& interface, std::vector<ServerProcedure> procedures,
           ServerOptions options = {});

    /// Before Run. Answers a further interface at the same endpoints: clients, limits and connections are the
    /// same, and the caller names the interface when it binds.
    void Add(const InterfaceDescription& interface, std::vector<ServerProcedure> procedures);

    /// Run must not be running.
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    /// Before Run. Listens at an endpoint of EndpointDirectory(), which is created (0755) if missing.
    /// Replaces a socket without a listener and refuses to take one from a running service. Any user may
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
    void SayExhausted(const std::string& why);
    void Admit(FileDescriptor socket);
    void EndServed() noexcept;

    const std::unique_ptr<ServerShared> m_shared;
    FileDescriptor m_doorbell;
    std::atomic<bool> m_stopping = false;
    std::atomic<std::size_t> m_connections = 0;

    // The thread in Run.
    std::list<ListeningSocket> m_listening;
    std::list<FileDescriptor> m_adopted;
    /// Since a client was last served.
    bool m_exhaustedSaid = false;
    std::list<ServedConnection> m_served;
    const std::unique_ptr<Refusals> m_refusals;
};

}  // namespace platform::rpc
