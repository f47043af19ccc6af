#include "platform/storage/FileDescriptor.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

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

}  // namespace platform
