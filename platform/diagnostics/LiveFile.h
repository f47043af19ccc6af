#pragma once

// The file that messages are copied into: reserved on the disk and mapped into memory, so that what was
// copied is the kernel's at once and outlives the process, and a full disk shows when the file is made, never
// as a signal. It holds a few images of log files; each is stored as a file of its own when it is full, and
// used again. The file is locked as long as its process lives: an unlocked one was left by a crash.

#include <cstddef>
#include <filesystem>
#include <memory>
#include <span>
#include <string>

#include "platform/storage/FileDescriptor.h"

namespace platform {

class LiveFile {
  public:
    /// What the images take up while others are being stored.
    static constexpr std::size_t kImages = 8;
    static constexpr std::string_view kExtension = ".live";

    /// Makes the first free "<stem>-<number>.live" in `folder`, which must exist. A failure is a platform
    /// exception.
    LiveFile(const std::filesystem::path& folder, const std::string& stem);
    ~LiveFile();
    LiveFile(const LiveFile&) = delete;
    LiveFile& operator=(const LiveFile&) = delete;

    const std::filesystem::path& Path() const { return m_path; }
    std::byte* Image(std::size_t index) const;

    /// Brings an image's pages into memory, so that no writer waits for them later; changes no byte. Before
    /// writers have the image. Any thread.
    void Populate(std::size_t index) const;

    /// True when the file has been deleted.
    bool IsGone() const;

    /// Recreates the file from the mapping, keeping its addresses; the caller prevents writes.
    void Restore();

    /// Deletes the file: everything in it has been stored.
    void Remove();

    /// True when a process that lives, this one included, has the file. A failure is a platform exception.
    static bool IsInUse(const std::filesystem::path& path);

    /// Opens and locks the live file of a process that has ended; empty when its process still lives, or when
    /// the file has been deleted. The bytes are the file's own. A failure is a platform exception.
    static FileDescriptor OpenLeftover(const std::filesystem::path& path);

  private:
    void Create();

    const std::filesystem::path m_folder;
    const std::string m_stem;
    std::filesystem::path m_path;
    FileDescriptor m_file;
    std::byte* m_memory = nullptr;
};

}  // namespace platform
