#pragma once

// The machines of tests/machines, and files of a test's own, below a directory of the test's own.

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "daemon/machine/MachineFiles.h"

namespace daemon_service {

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
    /// The machine of that name.
    explicit RecordedMachine(const std::string& name);
    ~RecordedMachine();
    RecordedMachine(const RecordedMachine&) = delete;
    RecordedMachine& operator=(const RecordedMachine&) = delete;

    /// Adds the files of the machine of that name.
    RecordedMachine& Add(const std::string& name);
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

/// The names of all machines in tests/machines, sorted.
std::vector<std::string> MachineNames();

/// A laptop with everything: all fields, password, two Type-C ports.
void BuildLaptop(RecordedMachine& machine);

}  // namespace daemon_service
