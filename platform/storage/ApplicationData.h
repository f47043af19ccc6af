#pragma once

#include <memory>

#include "platform/storage/PropertySet.h"
#include "platform/storage/StorageFolder.h"

namespace platform {

/// Settings under one name. Any thread. Each change is made to what the file has at that moment, so that
/// several processes keep each other's, and is on the disk when the call returns; when it cannot get there,
/// which is said once on the standard error stream, it holds until the process ends and is written with the
/// next change that can be.
class ApplicationDataContainer {
  public:
    explicit ApplicationDataContainer(const std::filesystem::path& file);

    PropertySet& Values() { return m_values; }

  private:
    void Apply(PropertyMap& values, const PropertySet::Edit& edit);

    const std::filesystem::path m_file;
    bool m_failed = false;
    PropertySet m_values;
};

/// The application's data of this user. One a process, read at its first use; any thread.
class ApplicationData {
  public:
    static ApplicationData& Current();

    const std::shared_ptr<StorageFolder>& LocalFolder() const { return m_localFolder; }
    ApplicationDataContainer& LocalSettings() { return m_localSettings; }

  private:
    ApplicationData();

    const std::shared_ptr<StorageFolder> m_localFolder;
    ApplicationDataContainer m_localSettings;
};

}  // namespace platform
