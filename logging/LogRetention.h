#pragma once

// How long stored log files stay.

#include <cstdint>
#include <set>
#include <string>

#include "platform/storage/StorageFolder.h"

namespace Kelvane {

/// What the newest log files may take up together.
inline constexpr std::uint64_t kLogFilesLimit = std::uint64_t{64} << 20;

/// Deletes the oldest log files in `folder` until what is left is at most `limit` bytes; the files whose full
/// paths are in `kept`, and files with other names, stay. Worker; what cannot be deleted is passed over.
void DeleteOldLogFiles(platform::StorageFolder& folder, std::uint64_t limit,
                       const std::set<std::u16string>& kept);

}  // namespace Kelvane
