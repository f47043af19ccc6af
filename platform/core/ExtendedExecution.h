#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "platform/core/Guarded.h"

namespace platform {

/// The extended execution sessions that are open in one run of the application. Any thread.
class ExtendedExecution {
  public:
    using Handler = std::function<void()>;

    bool IsOpen() const;

    /// Calls `closed` once no session is open: at once, or on the thread that closes the last one.
    void WhenClosed(Handler closed);

    /// Tells the open sessions that they are waited for no longer; WhenClosed's handler is dropped.
    void Revoke();

  private:
    friend class ExtendedExecutionSession;

    struct State {
        std::vector<std::shared_ptr<const Handler>> revoked;
        Handler closed;
    };

    void Close(const std::shared_ptr<const Handler>& session);

    Guarded<State> m_state;
};

/// Work that its user must not lose: while one is open, the end of the application waits before it raises
/// Suspending, for four seconds at most. Closed by its destructor. Any thread; must not outlive the run.
class ExtendedExecutionSession {
  public:
    /// `revoked` is called on the user-interface thread when the end waits no longer. Throws a platform
    /// exception when no application runs.
    explicit ExtendedExecutionSession(ExtendedExecution::Handler revoked);
    ~ExtendedExecutionSession();
    ExtendedExecutionSession(const ExtendedExecutionSession&) = delete;
    ExtendedExecutionSession& operator=(const ExtendedExecutionSession&) = delete;

  private:
    ExtendedExecution& m_execution;
    const std::shared_ptr<const ExtendedExecution::Handler> m_revoked;
};

}  // namespace platform
