#include "platform/rpc/Admission.h"

#include <algorithm>

#include "platform/tasks/Clock.h"

namespace platform::rpc {

namespace {
constexpr double kTicksPerSecond = 10'000'000;
}

Admitted Admission::Enter(uid_t user) {
    return m_users.With([&](auto& users) {
        const auto [entry, isNew] = users.try_emplace(user);
        User& state = entry->second;
        if (isNew) {
            state.Calls = m_maxCallsPerSecond;
            state.Updated = CurrentClock().Steady();
        }
        if (state.Connections >= 2 * m_maxConnections) {
            return Admitted::Drop;
        }
        return ++state.Connections <= m_maxConnections ? Admitted::Serve : Admitted::Refuse;
    });
}

void Admission::Leave(uid_t user) {
    // The user's entry stays: a new connection must not bring a new allowance of calls.
    m_users.With([&](auto& users) { --users[user].Connections; });
}

bool Admission::TakeCall(uid_t user) {
    if (m_maxCallsPerSecond == 0) {
        return true;
    }
    return m_users.With([&](auto& users) {
        User& state = users[user];
        const std::int64_t now = CurrentClock().Steady();
        const double earned =
            static_cast<double>(now - state.Updated) / kTicksPerSecond * m_maxCallsPerSecond;
        state.Calls = std::min<double>(m_maxCallsPerSecond, state.Calls + earned);
        state.Updated = now;
        if (state.Calls < 1) {
            return false;
        }
        --state.Calls;
        return true;
    });
}

}  // namespace platform::rpc
