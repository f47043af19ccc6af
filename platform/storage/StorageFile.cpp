#include "platform/storage/StorageFile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

#include "platform/core/Exception.h"
#include "platform/core/Text.h"
#include "platform/storage/FileDescriptor.h"
#include "platform/storage/StorageFolder.h"

namespace platform {

namespace {

/// FILETIME of the Unix epoch.
constexpr std::int64_t kUnixEpoch = 116444736000000000;

/// Copies to another file system, then removes the source.
int CopyAndRemove(const std::filesystem::path& from, const std::filesystem::path& to, bool replace) {
    std::error_code error;
    const auto options =
        replace ? std::filesystem::copy_options::overwrite_existing : std::filesystem::copy_options::none;
    std::filesystem::copy_file(from, to, options, error);
    if (error) {
        return error.value();
    }
    return unlink(from.c_str()) == 0 ? 0 : errno;
}

int Move(const std::filesystem::path& from, const std::filesystem::path& to, bool replace) {
    int error = 0;
    if (replace) {
        error = std::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
    } else {
        error = RenameToFreeName(from, to);
    }
    return error == EXDEV ? CopyAndRemove(from, to, replace) : error;
}

std::filesystem::path NumberedName(const std::filesystem::path& name, int number) {
    return name.stem().string() + " (" + std::to_string(number) + ")" + name.extension().string();
}

}  // namespace

StorageFile::StorageFile(std::filesystem::path path) : m_path(std::move(path)) {}

std::filesystem::path StorageFile::CurrentPath() const {
    return m_path.With([](const auto& path) { return path; });
}

std::u16string StorageFile::Path() const {
    return FromUtf8(CurrentPath().string());
}

std::u16string StorageFile::Name() const {
    return FromUtf8(CurrentPath().filename().string());
}

task<void> StorageFile::MoveAsync(std::shared_ptr<StorageFolder> folder, std::u16string desiredNewName,
                                  NameCollisionOption option) {
    return create_task([self = shared_from_this(), folder = std::move(folder),
                        name = std::move(desiredNewName), option] {
        const auto& base = folder->NativePath();
        const std::filesystem::path wanted = ToUtf8(name);
        const auto from = self->CurrentPath();
        auto to = base / wanted;
        int error = Move(from, to, option == NameCollisionOption::ReplaceExisting);
        for (int number = 2; error == EEXIST && option == NameCollisionOption::GenerateUniqueName; ++number) {
            to = base / NumberedName(wanted, number);
            error = Move(from, to, false);
        }
        if (error != 0) {
            throw ExceptionFromErrno("move " + from.string() + " to " + to.string(), error);
        }
        self->m_path.With([&](auto& path) { path = to; });
    });
}

task<void> StorageFile::DeleteAsync() {
    return create_task([self = shared_from_this()] {
        const auto path = self->CurrentPath();
        if (unlink(path.c_str()) != 0) {
            throw ExceptionFromErrno("delete " + path.string(), errno);
        }
    });
}

task<BasicProperties> StorageFile::GetBasicPropertiesAsync() {
    return create_task([self = shared_from_this()] {
        const auto path = self->CurrentPath();
        struct stat status {};
        if (stat(path.c_str(), &status) != 0) {
            throw ExceptionFromErrno("look up " + path.string(), errno);
        }
        return BasicProperties{static_cast<std::uint64_t>(status.st_size),
                               kUnixEpoch + status.st_mtim.tv_sec * 10000000 + status.st_mtim.tv_nsec / 100};
    });
}

task<std::shared_ptr<StorageFile>> StorageFile::GetFileFromPathAsync(std::u16string path) {
    return create_task([path = std::move(path)] {
        const std::filesystem::path file = ToUtf8(path);
        struct stat status {};
        if (stat(file.c_str(), &status) != 0) {
            throw ExceptionFromErrno("look up " + file.string(), errno);
        }
        if (!S_ISREG(status.st_mode)) {
            throw Exception(result::kInvalidArgument, path + u" is not a file");
        }
        return std::make_shared<StorageFile>(file);
    });
}

}  // namespace platform
