#pragma once

// A real kelvane-service in a process of its own, in a private directory of endpoints.

#include <sys/types.h>

#include <string>
#include <vector>

#include "platform/storage/FileDescriptor.h"
#include "tests/support/RpcSupport.h"

namespace daemon_service {

class ServiceProcess {
  public:
    struct Settings {
        std::vector<std::string> Arguments{};
        std::vector<std::string> Environment{};  ///< "NAME=value", besides the test's own
        /// Given: the service gets a socket that listens already, as from the service manager. Called once it
        /// listens.
        std::function<void()> FirstClient{};
        bool ExpectReady = true;
    };

    /// Returns when the service says that it is ready, or has ended.
    explicit ServiceProcess(Settings settings);
    ServiceProcess() : ServiceProcess(Settings()) {}

    /// Ends the service with SIGTERM if it still runs.
    ~ServiceProcess();
    ServiceProcess(const ServiceProcess&) = delete;
    ServiceProcess& operator=(const ServiceProcess&) = delete;

    void Signal(int signal) const;

    /// The exit status, or 1000 + the signal that ended it.
    int WaitForEnd();

    /// The next message to the service manager, for example "WATCHDOG=1". Throws when none comes for 30
    /// seconds.
    std::string NextNotification();

    /// What the service wrote to standard error so far; all of it after WaitForEnd.
    std::string Log() const;

  private:
    pid_t m_process = -1;
    platform::FileDescriptor m_notifications;
    std::string m_folder;  // of the notification socket and the log
};

/// Runs `body` in a child process as another user who is in no groups but these; the exit status is what it
/// returns.
int AsUser(uid_t user, const std::function<int()>& body, const std::vector<gid_t>& groups = {});

}  // namespace daemon_service
