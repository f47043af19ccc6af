#include "daemon/actions/ToolStarter.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <utility>
#include <vector>

#include "daemon/actions/ActionError.h"
#include "daemon/actions/SystemBus.h"

namespace daemon_service {

namespace {

using Status = ActionError::Status;

bool IsInstalled(const std::string& path) {
    return access(path.c_str(), X_OK) == 0;
}

/// Certainly, that is: the service may be kept from folders that the tool's user can see.
bool IsAbsent(const std::string& path) {
    return access(path.c_str(), F_OK) != 0 && (errno == ENOENT || errno == ENOTDIR);
}

Command CommandFor(Tool tool, const Configuration& configuration) {
    auto command = configuration.ToolCommand(tool, IsInstalled);
    if (!command) {
        throw ActionError(Status::NotFound,
                          "no " + std::string(ToolName(tool)) +
                              " tool is installed; install one or name it in the configuration (" +
                              std::string(ToolName(tool)) + "-tool = /path/to/program)");
    }
    if (IsAbsent(command->front())) {
        throw ActionError(Status::NotFound, "the configured " + std::string(ToolName(tool)) + " tool " +
                                                command->front() + " is not installed");
    }
    return *std::move(command);
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

/// The service's own environment without what concerns only the service.
std::vector<std::string> ToolEnvironment() {
    std::vector<std::string> environment;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string_view text = *entry;
        bool own = false;
        for (const char* prefix : {"LISTEN_", "NOTIFY_SOCKET=", "WATCHDOG_", "CREDENTIALS_DIRECTORY=",
                                   "KELVANE_", "JOURNAL_STREAM=", "INVOCATION_ID=", "LD_PRELOAD="}) {
            own |= text.starts_with(prefix);
        }
        if (!own) {
            environment.emplace_back(text);
        }
    }
    return environment;
}

struct SpawnSettings {
    SpawnSettings() {
        posix_spawnattr_init(&Attributes);
        posix_spawn_file_actions_init(&Files);
    }
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;
    ~SpawnSettings() {
        posix_spawnattr_destroy(&Attributes);
        posix_spawn_file_actions_destroy(&Files);
    }

    posix_spawnattr_t Attributes{};
    posix_spawn_file_actions_t Files{};
};

/// In a new session, with default signals and without the service's streams.
void Spawn(Command command) {
    SpawnSettings settings;
    sigset_t none;
    sigset_t usual;
    sigemptyset(&none);
    sigemptyset(&usual);
    for (const int signal : {SIGTERM, SIGINT, SIGCHLD, SIGPIPE}) {
        sigaddset(&usual, signal);
    }
    posix_spawnattr_setflags(&settings.Attributes,
                             POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    posix_spawnattr_setsigmask(&settings.Attributes, &none);
    posix_spawnattr_setsigdefault(&settings.Attributes, &usual);
    posix_spawn_file_actions_addopen(&settings.Files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&settings.Files, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&settings.Files, STDERR_FILENO, "/dev/null", O_WRONLY, 0);

    std::vector<std::string> environment = ToolEnvironment();
    pid_t child = 0;
    const int error = posix_spawn(&child, command[0].c_str(), &settings.Files, &settings.Attributes,
                                  Pointers(command).data(), Pointers(environment).data());
    if (error != 0) {
        throw ActionError(error == ENOENT ? Status::NotFound : Status::Failed,
                          "cannot start " + command[0] + ": " + std::strerror(error));
    }
}

/// The word as the service manager expects it: in the arguments of a command, but not in its path, "$"
/// begins a variable and "$$" stands for itself (systemd.service(5)).
std::string Verbatim(std::string_view word) {
    std::string text;
    for (const char c : word) {
        text.append(c == '$' ? 2 : 1, c);
    }
    return text;
}

}  // namespace

ToolStarter::ToolStarter(bool byManager, std::function<Clock::time_point()> now)
    : m_byManager(byManager), m_now(std::move(now)) {}

void ToolStarter::Start(Tool tool, uid_t user, const Configuration& configuration) {
    const Clock::time_point now = m_now();
    const bool tooSoon = m_lastStarts.With([user, now](auto& starts) {
        const auto [last, first] = starts.try_emplace(user, now);
        const bool soon = !first && now - last->second < kPause;
        if (!soon) {
            last->second = now;
        }
        return soon;
    });
    if (tooSoon) {
        throw ActionError(Status::Busy,
                          "user " + std::to_string(user) + " started a tool less than a second ago");
    }
    Command command = CommandFor(tool, configuration);
    if (!m_byManager && user == geteuid()) {
        Spawn(std::move(command));
    } else {
        const std::string unit =
            "kelvane-" + std::string(ToolName(tool)) + "@" + std::to_string(user) + ".service";
        SystemBus().StartUnit(unit);
    }
}

void BecomeTool(Tool tool, const Configuration& configuration) {
    const Command command = CommandFor(tool, configuration);
    // The user's manager has the session's environment, which nothing here could know.
    Command line{"/usr/bin/systemd-run", "--user", "--collect", "--quiet", "--slice=app.slice",
                 // Reports a tool that cannot be executed, too.
                 "--service-type=exec", "--"};
    line.push_back(command.front());
    std::transform(command.begin() + 1, command.end(), std::back_inserter(line), Verbatim);
    execv(line[0].c_str(), Pointers(line).data());
    throw ActionError(Status::Failed, "cannot start " + line[0] + ": " + std::strerror(errno));
}

}  // namespace daemon_service
