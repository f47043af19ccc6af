#pragma once

// How long stored log files stay.

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace Kelvane {

/// The most bytes that stored log files may take up together.
inline constexpr std::uint64_t kLogFilesLimit = std::uint64_t{64} << 20;

/// The log files of one folder: those whose names begin with `Prefix` and end with ".etl".
struct LogFilePlace {
    std::filesystem::path Folder;
    std::string Prefix;
};

/// Deletes the oldest log files of all `places` together until at most `limit` bytes are left. Age is the
/// start time in a file's header, not a date of the file system. A start in the future, or none, counts as
/// oldest: the clock was wrong when the file was begun. Files whose full paths (FromPathBytes) are in `kept`
/// count as newest and are never deleted. Any thread, one call at a time; a missing folder is an empty one,
/// and files that cannot be deleted are passed over.
void DeleteOldLogFiles(const std::vector<LogFilePlace>& places, std::uint64_t limit,
                       const std::vector<std::u16string>& kept);

}  // namespace Kelvane
