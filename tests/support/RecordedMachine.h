#pragma once

// The machines of tests/machines, and one of a test's own, below a directory of its own.

#include <filesystem>
#include <string>
#include <vector>

#include "daemon/machine/MachineFiles.h"

namespace daemon_service {

/// The folders of tests/machines, sorted, and where the one of that name is.
std::vector<std::string> MachineNames();
std::string MachineFolder(const std::string& name);

class RecordedMachine {
  public:
    RecordedMachine();
    ~RecordedMachine();
    RecordedMachine(const RecordedMachine&) = delete;
    RecordedMachine& operator=(const RecordedMachine&) = delete;

    RecordedMachine& File(const std::string& path, const std::string& content);
    RecordedMachine& Link(const std::string& path, const std::string& target);

    std::string Root() const { return m_root.string(); }

    /// The records in UTF-8.
    std::string SystemInformation() const;
    std::string UsbTypeC() const;

  private:
    std::filesystem::path m_root;
};

/// The business laptop of tests/machines.
void BuildLaptop(RecordedMachine& machine);

}  // namespace daemon_service
