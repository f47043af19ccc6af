#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "platform/core/Guarded.h"
#include "platform/tasks/task.h"

namespace platform {

class StorageFolder;

/// What MoveAsync does when the name is taken.
enum class NameCollisionOption { GenerateUniqueName = 0, ReplaceExisting = 1, FailIfExists = 2 };

/// One file. Any thread; failures are platform exceptions of the tasks.
class StorageFile : public std::enable_shared_from_this<StorageFile> {
  public:
    /// The file is not looked at.
    explicit StorageFile(std::filesystem::path path);

    /// Full path and last component, as FromPathBytes has them; they change when the file is moved.
    std::u16string Path() const;
    std::u16string Name() const;

    /// Moves the file into `folder` under the name `desiredNewName`, also to another file system.
    task<void> MoveAsync(std::shared_ptr<StorageFolder> folder, std::u16string desiredNewName,
                         NameCollisionOption option);

    /// Takes what Path returns. Fails with "file not found" when there is no such file.
    static task<std::shared_ptr<StorageFile>> GetFileFromPathAsync(std::u16string path);

  private:
    std::filesystem::path CurrentPath() const;

    Guarded<std::filesystem::path> m_path;
};

}  // namespace platform
