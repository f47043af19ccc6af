#pragma once

// Who is answered. The caller's user and groups come from the kernel, by the socket, and from nowhere else.

#include <sys/types.h>

#include <string>

#include "daemon/actions/Configuration.h"
#include "platform/core/Guarded.h"
#include "platform/rpc/Socket.h"

namespace daemon_service {

/// What the session manager knows of a user. Only active sessions of class "user" count: a login screen, a
/// lock screen or a background job does not mean that the user is at the machine.
struct Presence {
    bool OnSeat = false;           ///< has the seat's screen and keyboard now
    bool OnRemoteDesktop = false;  ///< has a graphical session elsewhere
};

/// Root and the service's own user always; a user on a seat; others as the administrator opened it.
bool MayCall(const platform::rpc::SocketCredentials& caller, uid_t service, const Presence& presence,
             const Access& opened);

/// As the session manager reports it now; without one no user is present. Remote desktops are looked for only
/// if `withRemote`. Any thread; reads a few small files of /run/systemd and asks no process.
Presence ReadPresence(uid_t user, bool withRemote);

/// MayCall for this process as the service, as sessions and configuration are now. Any thread.
class Callers {
  public:
    /// `configuration` and `owner` as for LoadConfiguration.
    Callers(std::string configuration, uid_t owner);

    /// Waits for nothing but files. While the configuration cannot be followed it opens nothing further.
    bool MayCall(const platform::rpc::SocketCredentials& caller);

  private:
    /// The configuration's part on callers, read again when the file has changed.
    struct Opened {
        FileVersion Version;
        Access Rules;
    };

    Access CurrentRules();

    const std::string m_configuration;
    const uid_t m_owner;
    platform::Guarded<Opened> m_opened;
};

}  // namespace daemon_service
