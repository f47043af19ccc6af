#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "platform/tasks/task.h"

namespace platform {

/// What CreateFolderAsync does when the name is taken.
enum class CreationCollisionOption {
    GenerateUniqueName = 0,
    ReplaceExisting = 1,
    FailIfExists = 2,
    OpenIfExists = 3
};

/// One folder. Any thread; failures are platform exceptions of the tasks.
class StorageFolder {
  public:
    /// The folder is not looked at.
    explicit StorageFolder(std::filesystem::path path) : m_path(std::move(path)) {}

    /// As FromPathBytes has it.
    std::u16string Path() const;

    const std::filesystem::path& NativePath() const { return m_path; }

    /// Creates the folder `desiredName` in this one, and this one if it is missing. FailIfExists and
    /// OpenIfExists are supported; the other options are refused.
    task<std::shared_ptr<StorageFolder>> CreateFolderAsync(std::u16string desiredName,
                                                           CreationCollisionOption option);

  private:
    const std::filesystem::path m_path;
};

}  // namespace platform
