#include "logging/LogRetention.h"

#include <algorithm>
#include <memory>
#include <vector>

#include "platform/core/DebugOutput.h"
#include "platform/core/Exception.h"
#include "platform/storage/StorageFile.h"

namespace Kelvane {

namespace {

struct StoredFile {
    std::shared_ptr<platform::StorageFile> file;
    platform::BasicProperties properties;
};

bool IsLogFileName(const std::u16string& name) {
    return name.starts_with(u"Log-") && name.ends_with(u".etl");
}

}  // namespace

void DeleteOldLogFiles(platform::StorageFolder& folder, std::uint64_t limit,
                       const std::function<bool(const std::u16string& path)>& isKept) {
    std::vector<StoredFile> files;
    for (const auto& file : folder.GetFilesAsync().get()) {
        if (!IsLogFileName(file->Name())) {
            continue;
        }
        try {
            files.push_back({file, file->GetBasicPropertiesAsync().get()});
        } catch (const platform::Exception& exception) {
            platform::OutputDebugStringW(u"A log file is passed over: " + exception.Message());
        }
    }
    std::ranges::sort(files, std::ranges::greater(), [](const StoredFile& stored) {
        return std::pair(stored.properties.DateModified, stored.file->Name());
    });
    std::uint64_t size = 0;
    for (const auto& [file, properties] : files) {
        size += properties.Size;
        if (size <= limit || isKept(file->Path())) {
            continue;
        }
        try {
            file->DeleteAsync().get();
        } catch (const platform::Exception& exception) {
            platform::OutputDebugStringW(u"An old log file cannot be deleted: " + exception.Message());
        }
    }
}

}  // namespace Kelvane
