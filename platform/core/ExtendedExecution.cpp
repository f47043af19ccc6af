#include "platform/core/ExtendedExecution.h"

#include <utility>

#include "platform/core/Provided.h"

namespace platform {

bool ExtendedExecution::IsOpen() const {
    return m_state.With([](const State& state) { return !state.revoked.empty(); });
}

void ExtendedExecution::WhenClosed(Handler closed) {
    const bool isOpen = m_state.With([&](State& state) {
        if (!state.revoked.empty()) {
            state.closed = std::move(closed);
        }
        return !state.revoked.empty();
    });
    if (!isOpen) {
        closed();
    }
}

void ExtendedExecution::Revoke() {
    const auto open = m_state.With([](State& state) {
        state.closed = nullptr;
        return state.revoked;
    });
    for (const auto& revoked : open) {
        (*revoked)();
    }
}

void ExtendedExecution::Close(const std::shared_ptr<const Handler>& session) {
    const auto closed = m_state.With([&](State& state) {
        std::erase(state.revoked, session);
        return state.revoked.empty() ? std::exchange(state.closed, nullptr) : nullptr;
    });
    if (closed) {
        closed();
    }
}

ExtendedExecutionSession::ExtendedExecutionSession(ExtendedExecution::Handler revoked)
    : m_execution(Provided<ExtendedExecution>::Current()),
      m_revoked(std::make_shared<const ExtendedExecution::Handler>(std::move(revoked))) {
    m_execution.m_state.With([this](ExtendedExecution::State& state) { state.revoked.push_back(m_revoked); });
}

ExtendedExecutionSession::~ExtendedExecutionSession() {
    m_execution.Close(m_revoked);
}

}  // namespace platform
