#pragma once

// Whom a server answers, and the limits that keep one caller from taking what others need.

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>

#include "platform/rpc/Socket.h"

namespace platform::rpc {

struct ServerOptions {
    /// Whether a caller may call; asked once per connection on the thread in Run, which accepts no other one
    /// until it returns. The calls of one that may not fail with status 5. Empty: everybody may.
    std::function<bool(const SocketCredentials&)> Accept{};
    /// Called in Run when the process has no descriptor or thread for a client, with the reason; then not
    /// again until a client has been served.
    std::function<void(const std::string&)> Exhausted{};

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

    /// Of one user, all connections together, a new connection counting as one; what exceeds it fails with
    /// status 1723. 0: no limit.
    unsigned MaxCallsPerSecond = 0;

    /// Closes a connection that says nothing and held no context when it was last heard, that stops in the
    /// middle of a message, or that does not read its answer, for this long. 0: never.
    std::chrono::milliseconds IdleClose{30'000};
};

}  // namespace platform::rpc
