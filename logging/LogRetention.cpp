#include "logging/LogRetention.h"

#include <algorithm>
#include <system_error>
#include <tuple>

#include "platform/core/DebugOutput.h"
#include "platform/core/Text.h"
#include "platform/diagnostics/EventTraceReader.h"
#include "platform/storage/FolderContent.h"
#include "platform/tasks/Clock.h"

namespace Kelvane {

namespace {

struct StoredFile {
    bool isKept = false;
    /// FILETIME of the file's start; 0 when it is unknown or wrong.
    std::int64_t start = 0;
    std::filesystem::path path;
    std::uint64_t size = 0;
};

void AddFiles(const LogFilePlace& place, const std::vector<std::u16string>& kept,
              std::vector<StoredFile>& files) {
    const auto now = platform::CurrentClock().FileTime();
    std::error_code failure;
    for (const auto& path : platform::PathsIn(place.Folder, failure)) {
        if (!path.filename().string().starts_with(place.Prefix) || path.extension() != ".etl") {
            continue;
        }
        std::error_code gone;
        const auto size = std::filesystem::file_size(path, gone);
        if (gone) {
            continue;
        }
        const auto start = platform::etl::ReadStartTime(path);
        files.push_back(
            {.isKept = std::ranges::find(kept, platform::FromPathBytes(path.native())) != kept.end(),
             .start = start > now ? 0 : start,
             .path = path,
             .size = size});
    }
}

}  // namespace

void DeleteOldLogFiles(const std::vector<LogFilePlace>& places, std::uint64_t limit,
                       const std::vector<std::u16string>& kept) {
    std::vector<StoredFile> files;
    for (const auto& place : places) {
        AddFiles(place, kept, files);
    }
    std::ranges::sort(files, std::ranges::greater(), [](const StoredFile& file) {
        return std::tie(file.isKept, file.start, file.path.native());
    });
    std::uint64_t size = 0;
    for (const auto& file : files) {
        size += file.size;
        std::error_code failure;
        if (size > limit && !file.isKept && !std::filesystem::remove(file.path, failure) && failure) {
            platform::OutputDebugStringW(u"An old log file cannot be deleted: " +
                                         platform::FromUtf8(file.path.string() + ": " + failure.message()));
        }
    }
}

}  // namespace Kelvane
