#pragma once

// The firmware's own tables (DMTF DSP0134, "System Management BIOS Reference Specification"). Offsets are
// those of that document, counted from the structure's start. Nothing in a table is trusted: a string number
// that leads outside reads as "not there", and a structure that breaks the rules does not hide those after
// it.

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "daemon/machine/MachineFiles.h"

namespace daemon_service {

/// One structure; its views point into the table that it was parsed from.
struct SmbiosStructure {
    std::uint8_t Type;
    std::uint16_t Handle;
    std::string_view Formatted;             ///< header included
    std::vector<std::string_view> Strings;  ///< string number 1 first

    std::optional<std::uint8_t> Byte(std::size_t offset) const;
    std::optional<std::uint16_t> Word(std::size_t offset) const;
    std::optional<std::uint32_t> Double(std::size_t offset) const;

    /// The string whose number stands at `offset`; empty if there is none.
    std::string_view Text(std::size_t offset) const;
};

namespace smbios {
inline constexpr std::string_view kTablePath = "/sys/firmware/dmi/tables/DMI";
inline constexpr std::uint8_t kFirmware = 0;
inline constexpr std::uint8_t kProcessor = 4;
inline constexpr std::uint8_t kPortConnector = 8;
inline constexpr std::uint8_t kMemoryArray = 16;
inline constexpr std::uint8_t kMemoryDevice = 17;
inline constexpr std::uint8_t kHardwareSecurity = 24;
inline constexpr std::uint8_t kEndOfTable = 127;
}  // namespace smbios

struct SmbiosFaults {
    std::vector<std::string> Sentences;  ///< what is wrong, with its place
    bool CutOff = false;                 ///< structures may be missing
};

/// The structures of a table, in order, up to the end-of-table structure. As the kernel and dmidecode do, the
/// next structure is looked for after the next two zeros, whatever stands before them; a length below that of
/// a header, or a structure that the table's end cuts off, ends the table.
std::vector<SmbiosStructure> ParseSmbios(std::string_view table, SmbiosFaults* faults = nullptr);

/// The table's bytes from /sys/firmware/dmi/tables/DMI or, where that cannot be read, put together from
/// /sys/firmware/dmi/entries for the types named above. Empty if neither can be had.
std::string ReadSmbios(MachineFiles& files);

}  // namespace daemon_service
