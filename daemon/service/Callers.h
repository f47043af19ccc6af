#pragma once

// Who is answered. The caller's user comes from the kernel, by the socket, and from nowhere else.

#include <sys/types.h>

namespace daemon_service {

/// What the session manager knows of a user.
struct Sessions {
    bool ManagerRuns = false;
    bool ActiveAndLocal = false;  ///< the user sits at this machine and is not switched away
};

/// Root and the service's own user always; other users while they have an active local session. Without a
/// session manager nobody can tell who sits at the machine, and nobody else is answered.
bool MayCall(uid_t caller, uid_t service, const Sessions& sessions);

/// As the session manager has it now. Any thread; reads two small files and asks no process.
Sessions ReadSessions(uid_t user);

/// MayCall for this process as the service, and as the session manager has it now. Any thread.
bool MayCallNow(uid_t caller);

}  // namespace daemon_service
