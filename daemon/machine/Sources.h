#pragma once

// Where a machine's texts stand, by names that a technician can look up and that say how they are read:
//
//   sysfs PATH           a file below /sys
//   devicetree PATH      a property of the device tree, its first string
//   proc FILE            a file below /proc
//   proc FILE KEY        the first "KEY: value" line of such a file
//   os-release KEY       the last "KEY=value" line of os-release(5), without the shell's quotes
//   smbios TYPE.OFFSET   the string whose number stands at that offset (hexadecimal, as in DMTF DSP0134) of
//                        the first structure of the type (decimal) that has one

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "daemon/machine/MachineFiles.h"
#include "daemon/machine/Smbios.h"
#include "daemon/machine/Sourced.h"

namespace daemon_service {

/// A row of a field's table of sources.
struct SourceRow {
    std::string_view Source;
    /// What the source's text says for the field; nothing when it says nothing of use. Without a function it
    /// says itself.
    std::optional<std::u16string> (*Take)(const std::u16string& text) = nullptr;
};

/// The files of a machine with its firmware's tables, which are read once. Used by one thread.
class Sources {
  public:
    explicit Sources(MachineFiles& files);
    Sources(const Sources&) = delete;
    Sources& operator=(const Sources&) = delete;

    MachineFiles& Files() { return m_files; }
    std::span<const SmbiosStructure> Tables() const { return m_tables; }
    /// Why they do not say what they could.
    Missing WhyNoTable() const { return m_whyNoTable; }
    /// They are damaged, and structures are missing at their end.
    bool TablesCutOff() const { return m_tablesCutOff; }

    /// The cleaned text, or why there is none.
    SourcedText Text(std::string_view source);

    /// The first row that has a value; without one, the first whose source is there, else the first.
    SourcedText First(std::span<const SourceRow> rows);

  private:
    std::optional<std::string> Bytes(std::string_view source);
    std::optional<std::string> FileBytes(const std::string& path);
    std::optional<std::string> Release(std::string_view key);
    std::optional<std::string> TableText(std::string_view place);

    MachineFiles& m_files;
    std::string m_tableBytes;
    std::vector<SmbiosStructure> m_tables;  // views into m_tableBytes
    bool m_tablesCutOff = false;
    Missing m_whyNoTable = Missing::Absent;

    // Of the last call of Bytes that gave nothing.
    Missing m_why = Missing::Absent;
    std::string m_detail;
};

/// "Permission denied", "placeholder \"Default string\"": why there is no value, for the log.
std::string ReasonOf(Missing why, const std::string& detail);

}  // namespace daemon_service
