#include "platform/storage/StorageFile.h"

#include <fcntl.h>
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

/// Here and below: 0 or errno.
int Rename(const std::filesystem::path& from, const std::filesystem::path& to, bool replace) {
    if (replace) {
        return std::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
    }
    return RenameToFreeName(from, to);
}

/// A failure leaves nothing under the name `to`.
void CopyAndSync(const std::filesystem::path& from, const std::filesystem::path& to) {
    constexpr std::size_t kChunk = 65536;
    const auto source = OpenFile(from, O_RDONLY);
    const auto copy = OpenFile(to, O_WRONLY | O_CREAT | O_TRUNC);
    try {
        std::size_t offset = 0;
        for (auto chunk = ReadUpTo(source, from, 0, kChunk); !chunk.empty();
             chunk = ReadUpTo(source, from, offset, kChunk)) {
            WriteAt(copy, to, chunk, offset);
            offset += chunk.size();
        }
        if (fsync(copy.Get()) != 0) {
            throw ExceptionFromErrno("sync " + to.string(), errno);
        }
    } catch (...) {
        unlink(to.c_str());
        throw;
    }
}

/// Copies to another file system, then removes the source. The copy has a temporary name until it is complete
/// and on the disk.
int CopyAndRemove(const std::filesystem::path& from, const std::filesystem::path& to, bool replace) {
    auto fresh = to;
    fresh += ".new-" + std::to_string(getpid());
    CopyAndSync(from, fresh);
    if (const int error = Rename(fresh, to, replace); error != 0) {
        unlink(fresh.c_str());
        return error;
    }
    return unlink(from.c_str()) == 0 ? 0 : errno;
}

int Move(const std::filesystem::path& from, const std::filesystem::path& to, bool replace) {
    const int error = Rename(from, to, replace);
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
    return FromPathBytes(CurrentPath().native());
}

std::u16string StorageFile::Name() const {
    return FromPathBytes(CurrentPath().filename().native());
}

task<void> StorageFile::MoveAsync(std::shared_ptr<StorageFolder> folder, std::u16string desiredNewName,
                                  NameCollisionOption option) {
    return create_task([self = shared_from_this(), folder = std::move(folder),
                        name = std::move(desiredNewName), option] {
        const auto& base = folder->NativePath();
        const std::filesystem::path wanted = ToPathBytes(name);
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

task<std::shared_ptr<StorageFile>> StorageFile::GetFileFromPathAsync(std::u16string path) {
    return create_task([path = std::move(path)] {
        const std::filesystem::path file = ToPathBytes(path);
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
