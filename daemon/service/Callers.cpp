#include "daemon/service/Callers.h"

#include <systemd/sd-daemon.h>
#include <systemd/sd-login.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

namespace daemon_service {

bool MayCall(uid_t caller, uid_t service, const Sessions& sessions) {
    return caller == 0 || caller == service || (sessions.ManagerRuns && sessions.ActiveAndLocal);
}

Sessions ReadSessions(uid_t user) {
    Sessions sessions;
    sessions.ManagerRuns = sd_booted() > 0 && access("/run/systemd/seats", F_OK) == 0;
    char** names = nullptr;
    if (!sessions.ManagerRuns || sd_uid_get_sessions(user, 1, &names) <= 0) {
        return sessions;
    }
    for (char** name = names; *name != nullptr; ++name) {
        char* state = nullptr;
        const bool active = sd_session_get_state(*name, &state) >= 0 && std::strcmp(state, "active") == 0;
        sessions.ActiveAndLocal |= active && sd_session_is_remote(*name) == 0;
        std::free(state);
        std::free(*name);
    }
    std::free(names);
    return sessions;
}

bool MayCallNow(uid_t caller) {
    return MayCall(caller, geteuid(), ReadSessions(caller));
}

}  // namespace daemon_service
