#include "platform/storage/FolderContent.h"

#include <dirent.h>

#include <cerrno>
#include <memory>
#include <string_view>

namespace platform {

std::vector<std::filesystem::path> PathsIn(const std::filesystem::path& folder, std::error_code& failure) {
    std::vector<std::filesystem::path> paths;
    const auto close = [](DIR* opened) { closedir(opened); };
    const std::unique_ptr<DIR, decltype(close)> opened(opendir(folder.c_str()));
    errno = opened ? 0 : errno;
    for (const dirent* entry = nullptr; opened && (entry = readdir(opened.get())) != nullptr; errno = 0) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") {
            paths.push_back(folder / name);
        }
    }
    failure = {errno, std::generic_category()};
    return paths;
}

}  // namespace platform
