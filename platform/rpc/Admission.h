#pragma once

// How much of a server one user may take: connections, and calls a second. Any thread.

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <map>

#include "platform/core/Guarded.h"

namespace platform::rpc {

enum class Admitted { Serve, Refuse, Drop };

class Admission {
  public:
    Admission(std::size_t maxConnections, unsigned maxCallsPerSecond)
        : m_maxConnections(maxConnections), m_maxCallsPerSecond(maxCallsPerSecond) {}

    /// Counts a connection of `user` unless the answer is Drop; Leave ends it.
    Admitted Enter(uid_t user);
    void Leave(uid_t user);

    /// Whether `user` may make a call now.
    bool TakeCall(uid_t user);

  private:
    struct User {
        std::size_t Connections = 0;
        double Calls = 0;  ///< that may be made at once
        std::int64_t Updated = 0;
    };

    const std::size_t m_maxConnections;
    const unsigned m_maxCallsPerSecond;
    Guarded<std::map<uid_t, User>> m_users;
};

}  // namespace platform::rpc
