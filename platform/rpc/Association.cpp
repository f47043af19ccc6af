#include "platform/rpc/Association.h"

#include <sys/random.h>

#include <algorithm>
#include <utility>

namespace platform::rpc {

namespace {

Uuid RandomUuid() {
    Uuid uuid;
    if (getrandom(&uuid, sizeof uuid, 0) != static_cast<ssize_t>(sizeof uuid)) {
        throw RpcException(fault::kUnspecified);
    }
    return uuid;
}

}  // namespace

ContextHandle Association::Open(std::shared_ptr<void> state) {
    const ContextHandle handle{.Attributes = 0, .Uuid = RandomUuid()};
    m_contexts.With([&](Contexts& contexts) {
        if (contexts.size() >= m_maxContexts) {
            throw RpcException(fault::kServerTooBusy);
        }
        contexts.push_back({handle.Uuid, std::move(state)});
        m_open = contexts.size();
    });
    return handle;
}

std::shared_ptr<void> Association::Find(const ContextHandle& handle) const {
    return m_contexts.With([&](const Contexts& contexts) {
        const auto found = std::ranges::find(contexts, handle.Uuid, &Context::Uuid);
        if (found == contexts.end()) {
            throw RpcException(fault::kContextMismatch);
        }
        return found->State;
    });
}

void Association::Close(const ContextHandle& handle) {
    // The state's destructor runs when the lock is free again.
    const auto closed = m_contexts.With([&](Contexts& contexts) {
        const auto found = std::ranges::find(contexts, handle.Uuid, &Context::Uuid);
        std::shared_ptr<void> state;
        if (found != contexts.end()) {
            state = std::move(found->State);
            contexts.erase(found);
            m_open = contexts.size();
        }
        return state;
    });
}

std::shared_ptr<Association> AssociationTable::Join(std::uint32_t group, uid_t user) {
    return m_table.With([&](Table& table) -> std::shared_ptr<Association> {
        if (group == 0) {
            std::erase_if(table.Associations, [](const auto& entry) { return entry.second.expired(); });
            do {
                ++table.LastGroup;
            } while (table.LastGroup == 0 || table.Associations.contains(table.LastGroup));
            auto created = std::make_shared<Association>(table.LastGroup, user, m_maxContexts);
            table.Associations.emplace(table.LastGroup, created);
            return created;
        }
        const auto found = table.Associations.find(group);
        auto joined = found == table.Associations.end() ? nullptr : found->second.lock();
        return joined != nullptr && joined->User() == user ? joined : nullptr;
    });
}

std::size_t AssociationTable::OpenContexts() const {
    // Associations are released outside the lock: the last reference runs the destructors of their contexts.
    std::vector<std::shared_ptr<Association>> held;
    m_table.With([&](const Table& table) {
        for (const auto& entry : table.Associations) {
            held.push_back(entry.second.lock());
        }
    });
    std::size_t count = 0;
    for (const auto& association : held) {
        count += association != nullptr ? association->OpenContexts() : 0;
    }
    return count;
}

}  // namespace platform::rpc
