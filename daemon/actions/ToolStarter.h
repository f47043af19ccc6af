#pragma once

// Starts a configured tool in the session of the user who asked, as that user. The service never changes its
// own user: a tool of the service's own user is started directly, a tool of another user by the service
// manager, through the unit kelvane-TOOL@UID.service.

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <map>
#include <string>

#include "daemon/actions/Configuration.h"
#include "platform/core/Guarded.h"

namespace daemon_service {

/// Any thread.
class ToolStarter {
  public:
    using Clock = std::chrono::steady_clock;

    /// Shortest time between two starts for one user.
    static constexpr std::chrono::seconds kPause{1};

    /// With `byManager` every tool goes through the service manager, as it must when this is a system
    /// service.
    explicit ToolStarter(bool byManager, std::function<Clock::time_point()> now = Clock::now);

    /// Returns once the start was handed over; throws ActionError.
    void Start(Tool tool, uid_t user, const Configuration& configuration);

  private:
    // Constant after construction.
    const bool m_byManager;
    const std::function<Clock::time_point()> m_now;

    platform::Guarded<std::map<uid_t, Clock::time_point>> m_lastStarts;
};

/// Replaces this process by the tool, started by the current user's own service manager, so that it gets the
/// session's display and ends with that session. Returns only by throwing ActionError.
[[noreturn]] void BecomeTool(Tool tool, const Configuration& configuration);

}  // namespace daemon_service
