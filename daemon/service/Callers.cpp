#include "daemon/service/Callers.h"

#include <systemd/sd-login.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <utility>
#include <vector>

#include "daemon/service/Log.h"

namespace daemon_service {

namespace {

/// More of one user's active sessions are not looked at: all that wait to be accepted wait for the answer
/// too.
constexpr std::size_t kMaxSessions = 16;

/// A text that sd-login(3) allocated; empty where it reports nothing.
template <typename Query>
std::string Queried(Query query, const std::string& session) {
    char* text = nullptr;
    if (query(session.c_str(), &text) < 0 || text == nullptr) {
        return {};
    }
    const std::unique_ptr<char, decltype(&std::free)> owner(text, std::free);
    return text;
}

/// A list that sd-login(3) allocated.
std::vector<std::string> Taken(char** names) {
    std::vector<std::string> taken;
    for (char** name = names; name != nullptr && *name != nullptr; ++name) {
        taken.emplace_back(*name);
        std::free(*name);
    }
    std::free(names);
    return taken;
}

bool IsActiveUserSession(const std::string& session) {
    return sd_session_is_active(session.c_str()) > 0 && Queried(sd_session_get_class, session) == "user";
}

/// Asks each seat who has it, not each session of the user, who may have opened any number of them.
bool IsOnSeat(uid_t user) {
    char** names = nullptr;
    if (sd_get_seats(&names) < 0) {
        return false;
    }
    return std::ranges::any_of(Taken(names), [user](const std::string& seat) {
        char* name = nullptr;
        uid_t owner = 0;
        if (sd_seat_get_active(seat.c_str(), &name, &owner) < 0 || name == nullptr) {
            return false;
        }
        const std::string session(name);
        std::free(name);
        return owner == user && IsActiveUserSession(session) && sd_session_is_remote(session.c_str()) == 0;
    });
}

bool IsOnRemoteDesktop(uid_t user) {
    char** names = nullptr;
    if (sd_uid_get_sessions(user, 1, &names) < 0) {
        return false;
    }
    std::vector<std::string> sessions = Taken(names);
    sessions.resize(std::min(sessions.size(), kMaxSessions));
    return std::ranges::any_of(sessions, [](const std::string& session) {
        const std::string type = Queried(sd_session_get_type, session);
        return (type == "x11" || type == "wayland" || type == "mir") && IsActiveUserSession(session);
    });
}

}  // namespace

bool MayCall(const platform::rpc::SocketCredentials& caller, uid_t service, const Presence& presence,
             const Access& opened) {
    const bool inGroup = opened.Group && (caller.Gid == *opened.Group ||
                                          std::ranges::count(caller.Groups, *opened.Group) != 0);
    return caller.Uid == 0 || caller.Uid == service || presence.OnSeat || inGroup ||
           (opened.RemoteDesktops && presence.OnRemoteDesktop);
}

Presence ReadPresence(uid_t user, bool withRemote) {
    return {.OnSeat = IsOnSeat(user), .OnRemoteDesktop = withRemote && IsOnRemoteDesktop(user)};
}

Callers::Callers(std::string configuration, uid_t owner)
    : m_configuration(std::move(configuration)), m_owner(owner) {
    CurrentRules();
}

bool Callers::MayCall(const platform::rpc::SocketCredentials& caller) {
    const Access rules = CurrentRules();
    return daemon_service::MayCall(caller, geteuid(), ReadPresence(caller.Uid, rules.RemoteDesktops), rules);
}

Access Callers::CurrentRules() {
    const FileVersion version = VersionOf(m_configuration);
    return m_opened.With([&](Opened& opened) {
        if (opened.Version != version) {
            opened = {.Version = version, .Rules = {}};
            try {
                opened.Rules = LoadConfiguration(m_configuration, m_owner).Callers;
            } catch (const ConfigurationError& error) {
                Log(Priority::Error,
                    std::string(error.what()) +
                        "; until this is corrected actions are refused, and nobody is answered but "
                        "root and whoever sits at the machine");
            }
        }
        return opened.Rules;
    });
}

}  // namespace daemon_service
