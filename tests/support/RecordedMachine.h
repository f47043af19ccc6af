#pragma once

// Builds the files and firmware tables of machines, below a directory of the test's own.

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
    SmbiosBuilder& MemoryArray(std::uint16_t handle, std::uint8_t use = 3);
    /// `size` is the size word; `extended` stands in MiB where the word is 7FFFh.
    SmbiosBuilder& MemoryDevice(std::uint16_t array, std::uint16_t size, std::uint32_t extended = 0,
                                std::uint8_t type = 0x22);
    SmbiosBuilder& HardwareSecurity(std::uint8_t settings);

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
    /// Files of /sys/class/dmi/id.
    RecordedMachine& Dmi(const std::vector<std::pair<std::string, std::string>>& files);
    RecordedMachine& Tables(const SmbiosBuilder& tables);
    RecordedMachine& MemTotal(std::uint64_t kib);
    RecordedMachine& Debian();
    /// A Type-C port that gives and takes power, with the given files besides.
    RecordedMachine& Port(const std::string& name,
                          const std::vector<std::pair<std::string, std::string>>& files = {});
    /// A root hub of that speed with one port that belongs to the Type-C port.
    RecordedMachine& Hub(int bus, const std::string& speed, const std::string& port);

    std::string Root() const { return m_root.string(); }

    /// The records in UTF-8.
    std::string SystemInformation() const;
    std::string UsbTypeC() const;
    /// One field of the system-information record.
    std::string Field(std::size_t index) const;
    std::vector<std::string> Notes() const;

  private:
    std::filesystem::path m_root;
};

/// A laptop with everything: all fields, password, two Type-C ports.
void BuildLaptop(RecordedMachine& machine);

}  // namespace daemon_service
