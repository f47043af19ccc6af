#include "platform/rpc/Admission.h"

#include <algorithm>

#include "platform/core/FileTime.h"
#include "platform/tasks/Clock.h"

namespace platform::rpc {

Admitted Admission::Enter(const SocketCredentials& caller) {
    if (!HasRoom(caller.Uid)) {
        return Admitted::TooMany;
    }
    if (m_options.Accept && !m_options.Accept(caller)) {
        return Admitted::Denied;
    }
    if (!TakeCall(caller.Uid)) {
        return Admitted::TooMany;
    }
    ++m_connections;
    m_users.With([&](Users& users) { ++users[caller.Uid].connections; });
    return Admitted::Serve;
}

void Admission::Leave(uid_t user) {
    // The user's entry stays for as long as it counts: a new connection must not bring new calls.
    --m_connections;
    m_users.With([&](Users& users) { --users[user].connections; });
}

bool Admission::TakeCall(uid_t user) {
    const double most = m_options.MaxCallsPerSecond;
    if (most == 0) {
        return true;
    }
    const std::int64_t now = CurrentClock().Steady();
    const auto callsOf = [&](const User& state) {
        const std::chrono::duration<double> passed = ClockUnits(now - state.updated);
        return std::min(most, state.calls + passed.count() * most);
    };
    return m_users.With([&](Users& users) {
        if (!users.contains(user)) {
            std::erase_if(users, [&](const auto& entry) {
                return entry.second.connections == 0 && callsOf(entry.second) == most;
            });
        }
        User& state = users.try_emplace(user, User{.calls = most, .updated = now}).first->second;
        state = {.connections = state.connections, .calls = callsOf(state), .updated = now};
        const bool may = state.calls >= 1;
        state.calls -= may ? 1 : 0;
        return may;
    });
}

bool Admission::HasRoom(uid_t user) {
    return m_connections < m_options.MaxConnections && m_users.With([&](const Users& users) {
        const auto found = users.find(user);
        return found == users.end() || found->second.connections < m_options.MaxConnectionsPerUser;
    });
}

}  // namespace platform::rpc
