#include "platform/storage/Places.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "platform/core/Exception.h"

namespace platform {

namespace {

std::filesystem::path HomeFolder() {
    const char* home = std::getenv("HOME");
    if (home != nullptr && home[0] == '/') {
        return home;
    }
    passwd entry{};
    passwd* found = nullptr;
    char texts[4096];
    if (getpwuid_r(getuid(), &entry, texts, sizeof texts, &found) != 0 || found == nullptr) {
        throw Exception(result::kFileNotFound, u"There is no home folder; set HOME or XDG_STATE_HOME.");
    }
    return found->pw_dir;
}

}  // namespace

std::filesystem::path StateFolder() {
    const char* state = std::getenv("XDG_STATE_HOME");
    const std::filesystem::path base =
        state != nullptr && state[0] == '/' ? std::filesystem::path(state) : HomeFolder() / ".local/state";
    return base / "kelvane";
}

std::filesystem::path LocalStateFolder() {
    return StateFolder() / "LocalState";
}

std::filesystem::path LogsFolder() {
    return StateFolder() / "Logs";
}

std::filesystem::path SettingsFolder() {
    return StateFolder() / "Settings";
}

void EnsureFolder(const std::filesystem::path& folder) {
    if (mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST) {
        return;
    }
    if (errno == ENOENT && folder.has_parent_path() && folder != folder.parent_path()) {
        EnsureFolder(folder.parent_path());
        if (mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST) {
            return;
        }
    }
    throw ExceptionFromErrno("create folder " + folder.string(), errno);
}

}  // namespace platform
