#pragma once

#include <cstddef>
#include <filesystem>
#include <span>
#include <utility>
#include <vector>

namespace platform {

/// Owns a file descriptor.
class FileDescriptor {
  public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor) : m_descriptor(descriptor) {}
    ~FileDescriptor() { Reset(); }
    FileDescriptor(FileDescriptor&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        Reset(std::exchange(other.m_descriptor, -1));
        return *this;
    }

    int Get() const { return m_descriptor; }
    explicit operator bool() const { return m_descriptor >= 0; }

    /// Closes what is owned and takes `descriptor`. A close never fails loudly: what must be on the disk is
    /// synced before.
    void Reset(int descriptor = -1) noexcept;

    /// Hands the descriptor over to the caller.
    int Release() noexcept { return std::exchange(m_descriptor, -1); }

  private:
    int m_descriptor = -1;
};

/// open(2) with O_CLOEXEC and mode 0600; a failure is a platform exception.
FileDescriptor OpenFile(const std::filesystem::path& path, int flags);

/// Takes the space of the file's first `size` bytes, so that writing them later does not fail for want of it.
/// What is there is lost where the file system cannot reserve. Throws a platform exception.
void Reserve(const FileDescriptor& file, const std::filesystem::path& path, std::size_t size);

/// Writes all of `bytes` at `offset`; a failure is a platform exception that names `path`.
void WriteAt(const FileDescriptor& file, const std::filesystem::path& path, std::span<const std::byte> bytes,
             std::size_t offset);

/// Up to `length` bytes from `offset`, fewer at the end of the file; a failure is a platform exception.
std::vector<std::byte> ReadUpTo(const FileDescriptor& file, const std::filesystem::path& path,
                                std::size_t offset, std::size_t length);

/// Has the names in `folder` on the disk when it returns, where the file system can; a failure is a platform
/// exception.
void SyncFolder(const std::filesystem::path& folder);

/// Renames without replacing what may bear the name, on any file system; returns 0 or errno.
int RenameToFreeName(const std::filesystem::path& from, const std::filesystem::path& to);

}  // namespace platform
