#include "platform/storage/StorageFolder.h"

#include <sys/stat.h>

#include <cerrno>
#include <system_error>

#include "platform/core/Exception.h"
#include "platform/core/Text.h"
#include "platform/storage/Places.h"

namespace platform {

std::u16string StorageFolder::Path() const {
    return FromPathBytes(m_path.native());
}

task<std::shared_ptr<StorageFolder>> StorageFolder::CreateFolderAsync(std::u16string desiredName,
                                                                      CreationCollisionOption option) {
    return create_task([parent = m_path, name = std::move(desiredName), option] {
        if (option != CreationCollisionOption::FailIfExists &&
            option != CreationCollisionOption::OpenIfExists) {
            throw Exception(result::kInvalidArgument, u"This collision option is not supported for folders.");
        }
        const auto folder = parent / ToPathBytes(name);
        EnsureFolder(parent);
        if (mkdir(folder.c_str(), 0700) != 0) {
            const int error = errno;
            std::error_code unknown;
            const bool opened = error == EEXIST && option == CreationCollisionOption::OpenIfExists &&
                                std::filesystem::is_directory(folder, unknown);
            if (!opened) {
                throw ExceptionFromErrno("create folder " + folder.string(), error);
            }
        }
        return std::make_shared<StorageFolder>(folder);
    });
}

}  // namespace platform
