#pragma once

// Connections that are not served: each gets its answer when it asks, without a thread of its own, and is
// closed then, or when it has not asked for a second, or when there are too many. One thread.

#include <poll.h>

#include <cstddef>
#include <cstdint>
#include <list>
#include <span>
#include <vector>

#include "platform/rpc/ServerConnection.h"

namespace platform::rpc {

class Refusals {
  public:
    explicit Refusals(ServerShared& shared) : m_shared(shared) {}

    /// `why` is not Serve.
    void Add(FileDescriptor socket, const SocketCredentials& caller, Admitted why);

    /// Appends what to poll for.
    void AppendTo(std::vector<pollfd>& waits) const;

    /// Until the next one has been here for too long; -1 where there is none.
    int MillisecondsLeft() const;

    /// Answers those that have asked, and closes. `waits` are what AppendTo appended, after the poll; Add was
    /// not called in between.
    void Answer(std::span<const pollfd> waits);

    std::size_t Size() const { return m_refused.size(); }
    void Clear() { m_refused.clear(); }

  private:
    struct Refused {
        Refused(ServerShared& shared, FileDescriptor socket, const SocketCredentials& caller, Admitted why,
                std::int64_t end)
            : connection(shared, std::move(socket), caller, why), until(end) {}

        ServerConnection connection;
        std::int64_t until;
    };

    ServerShared& m_shared;
    std::list<Refused> m_refused;  // the oldest first
};

}  // namespace platform::rpc
