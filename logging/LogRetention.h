#pragma once

// How long stored log files stay.

#include <cstdint>
#include <functional>
#include <string>

#include "platform/storage/StorageFolder.h"

namespace Kelvane {

/// What the newest log files may take up together.
inline constexpr std::uint64_t kLogFilesLimit = std::uint64_t{64} << 20;

/// Deletes the oldest log files in `folder` until what is left is at most `limit` bytes; the files for whose
/// full paths `isKept` says so, asked just before, and files with other names, stay. Worker; what cannot be
/// deleted is passed over.
void DeleteOldLogFiles(platform::StorageFolder& folder, std::uint64_t limit,
                       const std::function<bool(const std::u16string& path)>& isKept);

}  // namespace Kelvane
