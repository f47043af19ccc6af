#include "platform/rpc/Server.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/core/Exception.h"
#include "platform/rpc/Refusals.h"
#include "platform/rpc/ServerConnection.h"

namespace platform::rpc {

namespace {

/// How long accepting rests when the process has run out of descriptors.
constexpr int kExhaustedPauseMilliseconds = 100;

/// How many connections of one listener are accepted before others and those that are refused have their
/// turn.
constexpr int kAcceptedAtOnce = 16;

void Ring(int doorbell) noexcept {
    const std::uint64_t one = 1;
    // The counter cannot overflow, so nothing can fail.
    [[maybe_unused]] const ssize_t written = write(doorbell, &one, sizeof one);
}

}  // namespace

/// A served connection and its thread. Destroying it waits for the thread.
struct Server::ServedConnection {
    ServedConnection(ServerShared& sharedByAll, FileDescriptor socket, const SocketCredentials& caller,
                     int doorbell)
        : shared(sharedByAll),
          connection(sharedByAll, std::move(socket), caller, Admitted::Serve),
          thread([this, doorbell] {
              connection.Run();
              done = true;
              Ring(doorbell);
          }) {}
    ~ServedConnection() {
        thread.join();
        shared.Admission.Leave(connection.Caller().Uid);
    }
    ServedConnection(const ServedConnection&) = delete;
    ServedConnection& operator=(const ServedConnection&) = delete;

    ServerShared& shared;
    ServerConnection connection;
    std::atomic<bool> done = false;
    std::thread thread;
};

Server::Server(const InterfaceDescription& interface, std::vector<ServerProcedure> procedures,
               ServerOptions options)
    : m_shared(new ServerShared{.Interfaces = {}, .Options = std::move(options)}),
      m_doorbell(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      m_refusals(new Refusals(*m_shared)) {
    if (m_doorbell.Get() < 0) {
        throw ExceptionFromErrno("create the server's event", errno);
    }
    Add(interface, std::move(procedures));
}

void Server::Add(const InterfaceDescription& interface, std::vector<ServerProcedure> procedures) {
    if (procedures.size() != interface.Procedures.size()) {
        throw Exception(result::kInvalidArgument, u"The interface has another number of procedures");
    }
    m_shared->Interfaces.push_back({interface, std::move(procedures)});
}

Server::~Server() {
    EndServed();
}

void Server::Listen(std::u16string_view endpoint) {
    m_listening.emplace_back(EndpointPath(endpoint));
}

void Server::Adopt(int listeningSocket) {
    m_adopted.emplace_back(listeningSocket);
    if (fcntl(listeningSocket, F_SETFL, O_NONBLOCK) != 0) {
        throw ExceptionFromErrno("take over the listening socket", errno);
    }
}

void Server::Stop() noexcept {
    m_stopping = true;
    Ring(m_doorbell.Get());
}

void Server::Run() {
    std::vector<pollfd> waits{{.fd = m_doorbell.Get(), .events = POLLIN, .revents = 0}};
    const auto listenAt = [&](const auto& socket) {
        waits.push_back({.fd = socket.Get(), .events = POLLIN, .revents = 0});
    };
    std::ranges::for_each(m_listening, listenAt);
    std::ranges::for_each(m_adopted, listenAt);
    const std::size_t own = waits.size();

    bool exhausted = false;
    while (!m_stopping) {
        for (std::size_t i = 1; i < own; ++i) {
            waits[i].events = exhausted ? 0 : POLLIN;
        }
        waits.resize(own);
        m_refusals->AppendTo(waits);
        const int pause = exhausted ? kExhaustedPauseMilliseconds : m_refusals->MillisecondsLeft();
        if (poll(waits.data(), waits.size(), pause) < 0 && errno != EINTR) {
            throw ExceptionFromErrno("wait for clients", errno);
        }
        std::uint64_t rings = 0;
        [[maybe_unused]] const ssize_t size = read(m_doorbell.Get(), &rings, sizeof rings);
        m_served.remove_if([](const ServedConnection& served) { return served.done.load(); });
        m_refusals->Answer(std::span(waits).subspan(own));
        exhausted = false;
        for (std::size_t i = 1; i < own && !m_stopping; ++i) {
            exhausted |= waits[i].revents != 0 && !AcceptWaiting(waits[i].fd);
        }
        m_connections = m_served.size() + m_refusals->Size();
    }
    EndServed();
}

void Server::EndServed() noexcept {
    m_refusals->Clear();
    for (ServedConnection& served : m_served) {
        served.connection.Shutdown();
    }
    m_served.clear();
    m_connections = 0;
}

/// False when the process has no descriptors or threads left for another client.
bool Server::AcceptWaiting(int listener) {
    for (int i = 0; i < kAcceptedAtOnce; ++i) {
        FileDescriptor socket(accept4(listener, nullptr, nullptr, SOCK_CLOEXEC));
        if (!socket) {
            const int error = errno;
            const bool isExhausted =
                error == EMFILE || error == ENFILE || error == ENOMEM || error == ENOBUFS;
            if (isExhausted) {
                SayExhausted(std::generic_category().message(error));
            }
            return !isExhausted;
        }
        try {
            Admit(std::move(socket));
        } catch (const std::exception& exception) {
            SayExhausted(exception.what());
            return false;
        }
    }
    return true;
}

void Server::SayExhausted(const std::string& why) {
    if (!std::exchange(m_exhaustedSaid, true) && m_shared->Options.Exhausted) {
        m_shared->Options.Exhausted(why);
    }
}

void Server::Admit(FileDescriptor socket) {
    const SocketCredentials caller = CredentialsOf(socket.Get());
    const Admitted admitted = m_shared->Admission.Enter(caller);
    if (admitted != Admitted::Serve) {
        m_refusals->Add(std::move(socket), caller, admitted);
        return;
    }
    try {
        m_served.emplace_back(*m_shared, std::move(socket), caller, m_doorbell.Get());
        m_exhaustedSaid = false;
    } catch (...) {
        m_shared->Admission.Leave(caller.Uid);
        throw;
    }
}

std::size_t Server::OpenContexts() const {
    return m_shared->Associations.OpenContexts();
}

}  // namespace platform::rpc
