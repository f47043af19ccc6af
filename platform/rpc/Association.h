#pragma once

// Associations: what the connections of one client share, the open contexts. Any thread.

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include <sys/types.h>

#include "platform/core/Guarded.h"
#include "platform/rpc/Ndr.h"

namespace platform::rpc {

/// Held by its connections. When the last one closes, the states of contexts still open are destroyed.
class Association {
  public:
    Association(std::uint32_t group, uid_t user, std::size_t maxContexts)
        : m_group(group), m_user(user), m_maxContexts(maxContexts) {}

    std::uint32_t Group() const { return m_group; }
    uid_t User() const { return m_user; }

    /// A new handle, a random number that cannot be guessed. Throws RpcException (fault::kServerTooBusy) at
    /// the limit.
    ContextHandle Open(std::shared_ptr<void> state);

    /// Throws RpcException (fault::kContextMismatch) for a handle that is not open.
    std::shared_ptr<void> Find(const ContextHandle& handle) const;

    void Close(const ContextHandle& handle);
    std::size_t OpenContexts() const { return m_open; }

  private:
    struct Context {
        rpc::Uuid Uuid;
        std::shared_ptr<void> State;
    };
    using Contexts = std::vector<Context>;

    const std::uint32_t m_group;
    const uid_t m_user;
    const std::size_t m_maxContexts;
    Guarded<Contexts> m_contexts;
    /// Their number, read for each message.
    std::atomic<std::size_t> m_open = 0;
};

/// The associations of one server.
class AssociationTable {
  public:
    explicit AssociationTable(std::size_t maxContexts) : m_maxContexts(maxContexts) {}

    /// A new association for group 0, else the group's; null when it does not exist or is another user's.
    std::shared_ptr<Association> Join(std::uint32_t group, uid_t user);

    std::size_t OpenContexts() const;

  private:
    struct Table {
        std::uint32_t LastGroup = 0;
        std::map<std::uint32_t, std::weak_ptr<Association>> Associations;
    };

    const std::size_t m_maxContexts;
    Guarded<Table> m_table;
};

}  // namespace platform::rpc
