#pragma once

// Which connections a server serves, and how many calls each user may make. Decides by numbers and
// credentials alone, so that a connection that is refused costs neither a thread nor memory.

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <map>

#include "platform/core/Guarded.h"
#include "platform/rpc/ServerOptions.h"

namespace platform::rpc {

enum class Admitted { Serve, TooMany, Denied };

class Admission {
  public:
    /// `options` must outlive this object.
    explicit Admission(const ServerOptions& options) : m_options(options) {}

    /// Decides about a new connection, which costs a call, and counts it if it is to be served; Leave ends
    /// that. `Accept` is asked only where there is room. One thread at a time.
    Admitted Enter(const SocketCredentials& caller);
    void Leave(uid_t user);

    /// Whether `user` may make a call now. Any thread.
    bool TakeCall(uid_t user);

  private:
    struct User {
        std::size_t connections = 0;
        double calls = 0;  ///< that may be made at once
        std::int64_t updated = 0;
    };
    using Users = std::map<uid_t, User>;

    bool HasRoom(uid_t user);

    const ServerOptions& m_options;
    std::size_t m_connections = 0;
    Guarded<Users> m_users;
};

}  // namespace platform::rpc
