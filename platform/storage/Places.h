#pragma once

// Where the application's data lies: below $XDG_STATE_HOME/kelvane, by default ~/.local/state/kelvane. All of
// it is the user's alone: folders have mode 0700, files 0600.

#include <filesystem>

namespace platform {

/// The folder that holds all of the application's data. A relative or empty XDG_STATE_HOME does not count;
/// without a home folder the password database is asked. Throws a platform exception when there is no home.
std::filesystem::path StateFolder();

/// The files of ApplicationData::LocalFolder.
std::filesystem::path LocalStateFolder();

/// The file logging session's own files.
std::filesystem::path LogsFolder();

/// The local settings.
std::filesystem::path SettingsFolder();

/// Creates `folder` and the folders above it that are missing. A failure is a platform exception.
void EnsureFolder(const std::filesystem::path& folder);

}  // namespace platform
