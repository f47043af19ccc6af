#include "platform/core/EndSignals.h"

#include <utility>

namespace platform {

namespace {

sigset_t Signals() {
    sigset_t signals{};
    sigemptyset(&signals);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        sigaddset(&signals, signal);
    }
    return signals;
}

/// True for a signal that the program was started to ignore (nohup, a job in the background of a
/// script). sigwait hands out a blocked signal all the same.
bool IsIgnored(int signal) {
    struct sigaction action {};
    return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

}  // namespace

void BlockEndSignals() {
    const sigset_t signals = Signals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

EndSignals::EndSignals(std::function<void()> handler) {
    BlockEndSignals();
    m_thread = std::thread([this, handler = std::move(handler)] {
        const sigset_t signals = Signals();
        int received = 0;
        while (sigwait(&signals, &received) == 0 && !m_stopping.load()) {
            if (!IsIgnored(received)) {
                handler();
            }
        }
    });
}

EndSignals::~EndSignals() {
    m_stopping.store(true);
    pthread_kill(m_thread.native_handle(), SIGHUP);
    m_thread.join();
    // Restore default delivery, so that a signal ends a program stuck in shutdown.
    const sigset_t signals = Signals();
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

}  // namespace platform
