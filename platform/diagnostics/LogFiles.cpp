#include "platform/diagnostics/LogFiles.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>

#include "platform/core/Exception.h"
#include "platform/diagnostics/EventTraceFormat.h"
#include "platform/diagnostics/EventTraceImage.h"
#include "platform/diagnostics/EventTraceReader.h"
#include "platform/diagnostics/LiveFile.h"
#include "platform/storage/FileDescriptor.h"
#include "platform/storage/FolderContent.h"

namespace platform {

namespace {

/// Where a log file grows. Whoever holds the lock of `live` owns it.
std::filesystem::path UnfinishedBeside(const std::filesystem::path& live) {
    return live.string() + ".new";
}

std::vector<std::byte> ReadHeader(const std::filesystem::path& path) {
    return ReadUpTo(OpenFile(path, O_RDONLY), path, 0, sizeof(etl::FileHeader));
}

/// False also for a file that cannot be read: it is not known to be the same.
bool BeginsLike(const std::filesystem::path& path, std::span<const std::byte> bytes) {
    try {
        return std::ranges::equal(ReadHeader(path), bytes.first(sizeof(etl::FileHeader)));
    } catch (const Exception&) {
        return false;
    }
}

/// When a log file was begun, as FILETIME; 0 when it cannot be read.
std::int64_t StartOf(std::span<const std::byte> file) {
    return file.size() < sizeof(etl::FileHeader)
               ? 0
               : reinterpret_cast<const etl::FileHeader*>(file.data())->LogFile.StartTime;
}

/// "<stem>-1.live" for "<stem>-1-7.etl".
std::filesystem::path LiveFileOf(const std::filesystem::path& logFile) {
    auto name = logFile.stem().string();
    name.resize(name.rfind('-'));
    return logFile.parent_path() / (name + std::string(LiveFile::kExtension));
}

}  // namespace

std::filesystem::path LogFiles::Store(std::span<const std::byte> bytes, const std::filesystem::path& live) {
    const auto unfinished = UnfinishedBeside(live);
    try {
        const auto file = OpenFile(unfinished, O_WRONLY | O_CREAT | O_TRUNC);
        Reserve(file, unfinished, bytes.size());
        WriteAt(file, unfinished, bytes, 0);
        return GiveName(unfinished, live);
    } catch (const Exception&) {
        unlink(unfinished.c_str());
        throw;
    }
}

std::filesystem::path LogFiles::GiveName(const std::filesystem::path& file,
                                         const std::filesystem::path& live) {
    while (true) {
        auto path =
            m_folder / (live.stem().string() + "-" + std::to_string(m_number + 1) + std::string(kExtension));
        const int failure = RenameToFreeName(file, path);
        if (failure != 0 && failure != EEXIST) {
            throw ExceptionFromErrno("rename " + file.string(), failure);
        }
        ++m_number;
        if (failure == 0) {
            return path;
        }
    }
}

std::vector<std::filesystem::path> LogFiles::Find(std::string_view extension) const {
    // A folder that cannot be read shows when something is stored.
    std::error_code unreadable;
    auto paths = PathsIn(m_folder, unreadable);
    std::erase_if(paths, [&](const auto& path) {
        return path.extension() != extension || !path.stem().string().starts_with(m_stem + "-");
    });
    return paths;
}

void LogFiles::StoreLeftover(const std::filesystem::path& leftover, const std::filesystem::path& live) {
    const auto file = LiveFile::OpenLeftover(leftover);
    if (!file) {
        return;
    }
    const auto stored = Find(kExtension);
    auto bytes = ReadUpTo(file, leftover, 0, LiveFile::kImages * etl::kFileSize);
    std::vector<std::span<std::byte>> images;
    for (std::size_t at = 0; at + etl::kFileSize <= bytes.size(); at += etl::kFileSize) {
        images.push_back(std::span(bytes).subspan(at, etl::kFileSize));
    }
    // Images are reused cyclically, so index order is not time order.
    std::ranges::sort(images, {}, [](const auto& image) { return StartOf(image); });
    for (const auto& image : images) {
        const auto content = image.first(etl::EventTraceImage::CompleteLeftover(image));
        if (content.empty()) {
            continue;
        }
        // The end may have come between storing this image and letting go of it.
        if (std::ranges::none_of(stored, [&](const auto& path) { return BeginsLike(path, content); })) {
            Store(content, live);
        }
        constexpr std::uint32_t kUnused = 0;
        WriteAt(file, leftover, std::as_bytes(std::span(&kUnused, 1)),
                static_cast<std::size_t>(image.data() - bytes.data()) +
                    offsetof(etl::FileHeader, LogFile.BuffersWritten));
    }
    unlink(UnfinishedBeside(leftover).c_str());
    unlink(leftover.c_str());
}

LogFiles::Leftovers LogFiles::TakeLeftovers(const std::filesystem::path& live) {
    Leftovers leftovers;
    const auto attempt = [&](const auto& action) {
        try {
            action();
        } catch (...) {
            if (!leftovers.Failure) {
                leftovers.Failure = std::current_exception();
            }
        }
    };
    const auto attemptEach = [&](std::string_view extension, const auto& action) {
        attempt([&] {
            for (const auto& path : Find(extension)) {
                attempt([&] { action(path); });
            }
        });
    };
    attemptEach(LiveFile::kExtension, [&](const auto& path) { StoreLeftover(path, live); });
    attemptEach(kExtension, [&](const auto& path) {
        const auto owner = LiveFileOf(path);
        if (owner == live) {
            leftovers.Files.push_back(path);
        } else if (!LiveFile::IsInUse(owner)) {
            try {
                leftovers.Files.push_back(GiveName(path, live));
            } catch (const Exception&) {
                // Another process that starts may have been faster.
                if (std::filesystem::exists(path)) {
                    throw;
                }
            }
        }
    });
    std::ranges::sort(leftovers.Files, {}, etl::ReadStartTime);
    return leftovers;
}

}  // namespace platform
