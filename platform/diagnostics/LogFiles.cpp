#include "platform/diagnostics/LogFiles.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <system_error>
#include <utility>

#include "platform/core/Exception.h"
#include "platform/diagnostics/EventTraceFormat.h"
#include "platform/diagnostics/EventTraceImage.h"
#include "platform/diagnostics/LiveFile.h"
#include "platform/storage/FileDescriptor.h"

namespace platform {

namespace {

constexpr std::chrono::minutes kYoung{1};

std::vector<std::byte> ReadAll(const FileDescriptor& file, std::size_t limit) {
    std::vector<std::byte> bytes(limit);
    std::size_t length = 0;
    while (length < limit) {
        const ssize_t count =
            pread(file.Get(), bytes.data() + length, limit - length, static_cast<off_t>(length));
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            break;
        }
        length += static_cast<std::size_t>(count);
    }
    bytes.resize(length);
    return bytes;
}

/// Completes a log file whose writer ended too early; true when it is whole afterwards.
bool CompleteFile(const std::filesystem::path& path) {
    const FileDescriptor file(open(path.c_str(), O_RDWR | O_CLOEXEC));
    // Whoever is still writing it holds the lock.
    if (!file || flock(file.Get(), LOCK_EX | LOCK_NB) != 0) {
        return false;
    }
    auto bytes = ReadAll(file, etl::kFileSize);
    if (std::ranges::all_of(bytes, [](std::byte byte) { return byte == std::byte{0}; })) {
        // The writer ended before the first byte; what it meant to write is still in its live file. A young
        // one may belong to a writer that is about to lock it.
        if (std::filesystem::file_time_type::clock::now() - std::filesystem::last_write_time(path) > kYoung) {
            unlink(path.c_str());
        }
        return false;
    }
    etl::FileHeader header{};
    if (bytes.size() < sizeof header) {
        return false;
    }
    std::memcpy(&header, bytes.data(), sizeof header);
    if (header.LogFile.EndTime != 0) {
        return true;
    }
    const auto length = etl::EventTraceImage::CompleteLeftover(bytes);
    if (length == 0) {
        return false;
    }
    WriteAt(file, path, std::span(bytes).first(length), 0);
    return ftruncate(file.Get(), static_cast<off_t>(length)) == 0;
}

bool BeginsLike(const std::filesystem::path& path, std::span<const std::byte> bytes) {
    const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    constexpr std::size_t kHead = sizeof(etl::FileHeader);
    return file && std::ranges::equal(ReadAll(file, kHead), bytes.first(kHead));
}

}  // namespace

std::filesystem::path LogFileNames::Store(std::span<const std::byte> bytes) {
    while (true) {
        auto path = m_folder / (m_stem + "-" + std::to_string(++m_number) + std::string(kExtension));
        const FileDescriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
        if (!file && errno == EEXIST) {
            continue;
        }
        if (!file) {
            const int error = errno;
            --m_number;
            throw ExceptionFromErrno("create " + path.string(), error);
        }
        try {
            flock(file.Get(), LOCK_EX | LOCK_NB);
            if (const int error = posix_fallocate(file.Get(), 0, static_cast<off_t>(bytes.size()));
                error != 0) {
                throw ExceptionFromErrno("reserve " + path.string(), error);
            }
            WriteAt(file, path, bytes, 0);
        } catch (const Exception&) {
            unlink(path.c_str());
            throw;
        }
        return path;
    }
}

bool LogFileNames::IsOurs(const std::filesystem::path& path, std::string_view extension) const {
    return path.extension() == extension && path.stem().string().starts_with(m_stem + "-");
}

void LogFileNames::StoreLeftover(const std::filesystem::path& live) {
    const auto file = LiveFile::OpenLeftover(live);
    if (!file) {
        return;
    }
    auto bytes = ReadAll(file, LiveFile::kImages * etl::kFileSize);
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(m_folder)) {
        if (IsOurs(entry.path(), kExtension)) {
            files.push_back(entry.path());
        }
    }
    for (std::size_t at = 0; at + etl::kFileSize <= bytes.size(); at += etl::kFileSize) {
        const auto image = std::span(bytes).subspan(at, etl::kFileSize);
        const auto content = image.first(etl::EventTraceImage::CompleteLeftover(image));
        if (content.empty()) {
            continue;
        }
        // The end may have come while this very image was being stored.
        const auto begun =
            std::ranges::find_if(files, [&](const auto& path) { return BeginsLike(path, content); });
        if (begun != files.end()) {
            WriteAt(OpenFile(*begun, O_WRONLY), *begun, content, 0);
        } else {
            Store(content);
        }
        constexpr std::uint32_t kUnused = 0;
        WriteAt(file, live, std::as_bytes(std::span(&kUnused, 1)),
                at + offsetof(etl::FileHeader, LogFile.BuffersWritten));
    }
    unlink(live.c_str());
}

std::vector<std::filesystem::path> LogFileNames::CollectLeftovers() {
    std::vector<std::filesystem::path> live;
    for (const auto& entry : std::filesystem::directory_iterator(m_folder)) {
        if (IsOurs(entry.path(), LiveFile::kExtension)) {
            live.push_back(entry.path());
        }
    }
    for (const auto& path : live) {
        StoreLeftover(path);
    }
    std::vector<std::pair<std::filesystem::file_time_type, std::filesystem::path>> files;
    for (const auto& entry : std::filesystem::directory_iterator(m_folder)) {
        if (IsOurs(entry.path(), kExtension) && CompleteFile(entry.path())) {
            std::error_code gone;
            files.emplace_back(entry.last_write_time(gone), entry.path());
        }
    }
    std::ranges::sort(files);
    std::vector<std::filesystem::path> paths;
    for (auto& [time, path] : files) {
        paths.push_back(std::move(path));
    }
    return paths;
}

}  // namespace platform
