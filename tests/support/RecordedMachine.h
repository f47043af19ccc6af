#pragma once

// The machines of tests/machines, and one of a test's own, below a directory of its own.

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "daemon/machine/MachineFiles.h"

namespace daemon_service {

/// The folders of tests/machines, sorted, and where the one of that name is.
std::vector<std::string> MachineNames();
std::string MachineFolder(const std::string& name);

/// A firmware table, structure by structure.
class SmbiosBuilder {
  public:
    /// `body` follows the four header bytes.
    SmbiosBuilder& Add(std::uint8_t type, std::uint16_t handle, const std::vector<std::uint8_t>& body,
                       const std::vector<std::string>& strings = {});
    const std::string& Bytes() const { return m_bytes; }

  private:
    std::string m_bytes;
};

class RecordedMachine {
  public:
    RecordedMachine();
    ~RecordedMachine();
    RecordedMachine(const RecordedMachine&) = delete;
    RecordedMachine& operator=(const RecordedMachine&) = delete;

    RecordedMachine& File(const std::string& path, const std::string& content);
    RecordedMachine& Link(const std::string& path, const std::string& target);
    RecordedMachine& Tables(const SmbiosBuilder& tables);
    /// A Type-C port that gives and takes power, with the given files besides.
    RecordedMachine& Port(const std::string& name,
                          const std::vector<std::pair<std::string, std::string>>& files = {});
    /// A root hub of that speed with one port that belongs to the Type-C port.
    RecordedMachine& Hub(int bus, const std::string& speed, const std::string& port);

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
