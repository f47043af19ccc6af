#include "platform/diagnostics/LogFiles.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>

#include "platform/core/Exception.h"
#include "platform/diagnostics/EventTraceFormat.h"
#include "platform/diagnostics/EventTraceImage.h"
#include "platform/diagnostics/LiveFile.h"
#include "platform/storage/FileDescriptor.h"

namespace platform {

namespace {

/// Where a log file grows. Whoever holds the lock of `live` owns it.
std::filesystem::path UnfinishedBeside(const std::filesystem::path& live) {
    return live.string() + ".new";
}

bool BeginsLike(const std::filesystem::path& path, std::span<const std::byte> bytes) {
    return std::ranges::equal(ReadUpTo(OpenFile(path, O_RDONLY), path, 0, sizeof(etl::FileHeader)),
                              bytes.first(sizeof(etl::FileHeader)));
}

}  // namespace

std::filesystem::path LogFiles::Store(std::span<const std::byte> bytes, const std::filesystem::path& live) {
    const auto unfinished = UnfinishedBeside(live);
    try {
        const auto file = OpenFile(unfinished, O_WRONLY | O_CREAT | O_TRUNC);
        const int error = posix_fallocate(file.Get(), 0, static_cast<off_t>(bytes.size()));
        if (error != 0) {
            throw ExceptionFromErrno("reserve " + unfinished.string(), error);
        }
        WriteAt(file, unfinished, bytes, 0);
        while (true) {
            auto path = m_folder / (m_stem + "-" + std::to_string(m_number + 1) + std::string(kExtension));
            const int failure = RenameToFreeName(unfinished, path);
            if (failure != 0 && failure != EEXIST) {
                throw ExceptionFromErrno("rename " + unfinished.string(), failure);
            }
            ++m_number;
            if (failure == 0) {
                return path;
            }
        }
    } catch (const Exception&) {
        unlink(unfinished.c_str());
        throw;
    }
}

std::vector<std::filesystem::path> LogFiles::Find(std::string_view extension) const {
    std::vector<std::pair<std::filesystem::file_time_type, std::filesystem::path>> files;
    for (const auto& entry : std::filesystem::directory_iterator(m_folder)) {
        const auto& path = entry.path();
        if (path.extension() == extension && path.stem().string().starts_with(m_stem + "-")) {
            std::error_code gone;
            files.emplace_back(entry.last_write_time(gone), path);
        }
    }
    std::ranges::sort(files);
    std::vector<std::filesystem::path> paths;
    paths.reserve(files.size());
    for (auto& [time, path] : files) {
        paths.push_back(std::move(path));
    }
    return paths;
}

void LogFiles::StoreLeftover(const std::filesystem::path& live) {
    const auto file = LiveFile::OpenLeftover(live);
    if (!file) {
        return;
    }
    const auto stored = Find(kExtension);
    auto bytes = ReadUpTo(file, live, 0, LiveFile::kImages * etl::kFileSize);
    for (std::size_t at = 0; at + etl::kFileSize <= bytes.size(); at += etl::kFileSize) {
        const auto image = std::span(bytes).subspan(at, etl::kFileSize);
        const auto content = image.first(etl::EventTraceImage::CompleteLeftover(image));
        if (content.empty()) {
            continue;
        }
        // The end may have come between storing this image and letting go of it.
        if (std::ranges::none_of(stored, [&](const auto& path) { return BeginsLike(path, content); })) {
            Store(content, live);
        }
        constexpr std::uint32_t kUnused = 0;
        WriteAt(file, live, std::as_bytes(std::span(&kUnused, 1)),
                at + offsetof(etl::FileHeader, LogFile.BuffersWritten));
    }
    unlink(UnfinishedBeside(live).c_str());
    unlink(live.c_str());
}

std::vector<std::filesystem::path> LogFiles::CollectLeftovers() {
    for (const auto& live : Find(LiveFile::kExtension)) {
        StoreLeftover(live);
    }
    return Find(kExtension);
}

}  // namespace platform
