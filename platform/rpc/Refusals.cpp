#include "platform/rpc/Refusals.h"

#include <algorithm>

#include "platform/core/FileTime.h"
#include "platform/tasks/Clock.h"

namespace platform::rpc {

namespace {

/// How long a client may take to ask.
constexpr ClockUnits kTimeToAsk = std::chrono::seconds(1);

}  // namespace

void Refusals::Add(FileDescriptor socket, const SocketCredentials& caller, Admitted why) {
    SetNonBlocking(socket.Get());
    if (m_refused.size() >= m_shared.Options.MaxRefusals) {
        m_refused.pop_front();
    }
    m_refused.emplace_back(m_shared, std::move(socket), caller, why,
                           CurrentClock().Steady() + kTimeToAsk.count());
}

void Refusals::AppendTo(std::vector<pollfd>& waits) const {
    for (const Refused& refused : m_refused) {
        waits.push_back({.fd = refused.connection.Descriptor(), .events = POLLIN, .revents = 0});
    }
}

int Refusals::MillisecondsLeft() const {
    if (m_refused.empty()) {
        return -1;
    }
    const ClockUnits left(m_refused.front().until - CurrentClock().Steady());
    const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(left).count();
    return static_cast<int>(std::max<std::int64_t>(milliseconds + 1, 0));
}

void Refusals::Answer(std::span<const pollfd> waits) {
    const std::int64_t now = CurrentClock().Steady();
    auto wait = waits.begin();
    m_refused.remove_if([&](Refused& refused) {
        const bool asked = (wait++)->revents != 0;
        return (asked && !refused.connection.HandleArrived()) || refused.until <= now;
    });
}

}  // namespace platform::rpc
