#include "platform/storage/FileDescriptor.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "platform/core/Exception.h"

namespace platform {

void FileDescriptor::Reset(int descriptor) noexcept {
    if (m_descriptor >= 0) {
        close(m_descriptor);
    }
    m_descriptor = descriptor;
}

FileDescriptor OpenFile(const std::filesystem::path& path, int flags) {
    FileDescriptor file(open(path.c_str(), flags | O_CLOEXEC, 0600));
    if (!file) {
        throw ExceptionFromErrno("open " + path.string(), errno);
    }
    return file;
}

void Reserve(const FileDescriptor& file, const std::filesystem::path& path, std::size_t size) {
    while (fallocate(file.Get(), 0, 0, static_cast<off_t>(size)) != 0) {
        if (errno == EOPNOTSUPP) {
            // Not posix_fallocate, which would write to one small block after the other here: minutes on a
            // slow file system.
            WriteAt(file, path, std::vector<std::byte>(size), 0);
            return;
        }
        if (errno != EINTR) {
            throw ExceptionFromErrno("reserve " + path.string(), errno);
        }
    }
}

void WriteAt(const FileDescriptor& file, const std::filesystem::path& path, std::span<const std::byte> bytes,
             std::size_t offset) {
    while (!bytes.empty()) {
        const ssize_t written = pwrite(file.Get(), bytes.data(), bytes.size(), static_cast<off_t>(offset));
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written < 0) {
            throw ExceptionFromErrno("write " + path.string(), errno);
        }
        bytes = bytes.subspan(static_cast<std::size_t>(written));
        offset += static_cast<std::size_t>(written);
    }
}

std::vector<std::byte> ReadUpTo(const FileDescriptor& file, const std::filesystem::path& path,
                                std::size_t offset, std::size_t length) {
    std::vector<std::byte> bytes(length);
    std::size_t done = 0;
    while (done < length) {
        const ssize_t count =
            pread(file.Get(), bytes.data() + done, length - done, static_cast<off_t>(offset + done));
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            throw ExceptionFromErrno("read " + path.string(), errno);
        }
        if (count == 0) {
            break;
        }
        done += static_cast<std::size_t>(count);
    }
    bytes.resize(done);
    return bytes;
}

void SyncFolder(const std::filesystem::path& folder) {
    const auto opened = OpenFile(folder, O_RDONLY | O_DIRECTORY);
    // EINVAL: a file system that syncs no folders.
    if (fsync(opened.Get()) != 0 && errno != EINVAL) {
        throw ExceptionFromErrno("sync " + folder.string(), errno);
    }
}

int RenameToFreeName(const std::filesystem::path& from, const std::filesystem::path& to) {
    if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) {
        return 0;
    }
    if (errno == EINVAL || errno == ENOSYS) {
        // A file system without that flag: a hard link never replaces either.
        if (link(from.c_str(), to.c_str()) == 0) {
            return unlink(from.c_str()) == 0 ? 0 : errno;
        }
    }
    return errno;
}

}  // namespace platform
