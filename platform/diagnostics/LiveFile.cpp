#include "platform/diagnostics/LiveFile.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

#include "platform/core/Exception.h"
#include "platform/diagnostics/EventTraceFormat.h"

namespace platform {

namespace {

constexpr std::size_t kSize = LiveFile::kImages * etl::kFileSize;

/// Locks the file for as long as the descriptor is open; false when another process, or another descriptor,
/// has it. The kernel releases the lock when the process ends. A failure is a platform exception.
bool Lock(const FileDescriptor& file, const std::filesystem::path& path) {
    if (flock(file.Get(), LOCK_EX | LOCK_NB) == 0) {
        return true;
    }
    if (errno != EWOULDBLOCK) {
        throw ExceptionFromErrno("lock " + path.string(), errno);
    }
    return false;
}

/// On a file system that copies on write, space is reserved for the first write only, unless the file is made
/// an exception while it is empty. Others refuse, which does no harm.
void WriteInPlace(const FileDescriptor& file) {
    int flags = 0;
    if (ioctl(file.Get(), FS_IOC_GETFLAGS, &flags) == 0) {
        flags |= FS_NOCOW_FL;
        ioctl(file.Get(), FS_IOC_SETFLAGS, &flags);
    }
}

struct stat StatusOf(const FileDescriptor& file) {
    struct stat status {};
    fstat(file.Get(), &status);
    return status;
}

}  // namespace

LiveFile::LiveFile(const std::filesystem::path& folder, const std::string& stem)
    : m_folder(folder), m_stem(stem) {
    Create();
    void* memory = mmap(nullptr, kSize, PROT_READ | PROT_WRITE, MAP_SHARED, m_file.Get(), 0);
    if (memory == MAP_FAILED) {
        const int error = errno;
        Remove();
        throw ExceptionFromErrno("map " + m_path.string(), error);
    }
    m_memory = static_cast<std::byte*>(memory);
}

LiveFile::~LiveFile() {
    munmap(m_memory, kSize);
}

void LiveFile::Create() {
    for (int number = 1;; ++number) {
        auto path = m_folder / (m_stem + "-" + std::to_string(number) + std::string(kExtension));
        auto file = OpenFile(path, O_RDWR | O_CREAT);
        const bool isEmpty = StatusOf(file).st_size == 0;
        try {
            // One that holds something was left by a crash and waits to be stored.
            if (!Lock(file, path) || StatusOf(file).st_nlink == 0 || StatusOf(file).st_size != 0) {
                continue;
            }
            WriteInPlace(file);
            Reserve(file, path, kSize);
        } catch (const Exception&) {
            if (isEmpty) {
                unlink(path.c_str());
            }
            throw;
        }
        m_path = std::move(path);
        m_file = std::move(file);
        return;
    }
}

std::byte* LiveFile::Image(std::size_t index) const {
    return m_memory + index * etl::kFileSize;
}

void LiveFile::Populate(std::size_t index) const {
#ifdef MADV_POPULATE_WRITE
    // Many pages by one call. An old kernel refuses, and some file systems leave the pages read-only until
    // the first write.
    madvise(Image(index), etl::kFileSize, MADV_POPULATE_WRITE);
#endif
    constexpr std::size_t kPage = 4096;
    for (std::size_t offset = 0; offset < etl::kFileSize; offset += kPage) {
        std::atomic_ref(Image(index)[offset]).store(Image(index)[offset], std::memory_order_relaxed);
    }
}

bool LiveFile::IsGone() const {
    return StatusOf(m_file).st_nlink == 0;
}

void LiveFile::Restore() {
    const auto old = std::move(m_file);
    try {
        Create();
        WriteAt(m_file, m_path, {m_memory, kSize}, 0);
        if (mmap(m_memory, kSize, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, m_file.Get(), 0) ==
            MAP_FAILED) {
            throw ExceptionFromErrno("map " + m_path.string(), errno);
        }
    } catch (const Exception&) {
        if (m_file) {
            Remove();
        }
        m_file = FileDescriptor(fcntl(old.Get(), F_DUPFD_CLOEXEC, 0));
        throw;
    }
}

bool LiveFile::IsInUse(const std::filesystem::path& path) {
    const FileDescriptor file(open(path.c_str(), O_RDWR | O_CLOEXEC));
    return file && !Lock(file, path);
}

void LiveFile::Remove() {
    unlink(m_path.c_str());
}

FileDescriptor LiveFile::OpenLeftover(const std::filesystem::path& path) {
    FileDescriptor file(open(path.c_str(), O_RDWR | O_CLOEXEC));
    if (!file && errno == ENOENT) {
        return {};
    }
    if (!file) {
        throw ExceptionFromErrno("open " + path.string(), errno);
    }
    if (!Lock(file, path) || StatusOf(file).st_nlink == 0) {
        return {};
    }
    return file;
}

}  // namespace platform
