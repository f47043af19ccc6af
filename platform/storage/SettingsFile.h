#pragma once

// The local settings on disk: one XML file. A text may hold characters that XML cannot (control characters,
// lone surrogates): they, and the backslash, stand as \uXXXX.

#include <filesystem>

#include "platform/storage/FileDescriptor.h"
#include "platform/storage/PropertySet.h"

namespace platform {

/// Reads the settings; a missing file is an empty map. A file that cannot be read as settings is renamed to
/// its name + ".damaged" (with a number when that is taken), which is said on the standard error stream, and
/// the map is empty too.
PropertyMap LoadSettings(const std::filesystem::path& file);

/// While it lives, no other process that asks for it changes the settings. Waits for one that does, a second
/// at most: a process that is stopped must not hold the others. Deletes what processes left that were killed
/// while they saved. Makes the folder; a failure of that is a platform exception. Empty, with nothing
/// deleted, where the wait was in vain or the file system has no locks.
FileDescriptor LockSettings(const std::filesystem::path& file);

/// Replaces the settings: written to a new file, synced, renamed over the old one, the folder synced. A
/// failure is a platform exception and leaves the old file, or, of the folder's sync, perhaps the new one.
void SaveSettings(const std::filesystem::path& file, const PropertyMap& values);

}  // namespace platform
