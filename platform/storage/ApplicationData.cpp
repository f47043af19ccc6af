#include "platform/storage/ApplicationData.h"

#include <utility>

#include "platform/core/Exception.h"
#include "platform/core/StandardError.h"
#include "platform/core/Text.h"
#include "platform/storage/Places.h"
#include "platform/storage/SettingsFile.h"

namespace platform {

ApplicationDataContainer::ApplicationDataContainer(const std::filesystem::path& file)
    : m_file(file),
      m_values(FromUtf8(file.native()), LoadSettings(file),
               [this](PropertyMap& values, const auto& edit) { Apply(values, edit); }) {}

void ApplicationDataContainer::Apply(PropertyMap& values, const PropertySet::Edit& edit) {
    FileDescriptor lock;
    try {
        lock = LockSettings(m_file);
    } catch (const Exception&) {
        // Saving fails alike, and says so.
    }
    // Those that could not be saved are in memory only.
    if (std::error_code unknown; !m_failed && std::filesystem::exists(m_file, unknown)) {
        values = LoadSettings(m_file);
    }
    edit(values);
    try {
        SaveSettings(m_file, values);
        m_failed = false;
    } catch (const Exception& exception) {
        if (!std::exchange(m_failed, true)) {
            WriteStandardError({"kelvane: the settings cannot be saved (", exception.what(),
                                "); changes hold until the program ends"});
        }
    }
}

ApplicationData& ApplicationData::Current() {
    // Never destroyed: tasks that are still running at the end of the process may use it.
    static auto* const data = new ApplicationData;
    return *data;
}

ApplicationData::ApplicationData()
    : m_localFolder(std::make_shared<StorageFolder>(LocalStateFolder())),
      m_localSettings(SettingsFolder() / "settings.xml") {}

}  // namespace platform
