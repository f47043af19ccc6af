#pragma once

// Everything that the readers know of a machine. The records and the details document are made of it.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "daemon/machine/BiosPassword.h"
#include "daemon/machine/MachineFiles.h"
#include "daemon/machine/Sourced.h"
#include "daemon/machine/TypeCPorts.h"

namespace daemon_service {

enum class MachineKind { Unknown, Laptop, Desktop, AllInOne, Server, Tablet, Board, Virtual };

struct MemoryModule {
    std::optional<std::uint64_t> Bytes;
    std::string Kind;  ///< "DDR4"; empty where unknown
    std::optional<std::uint32_t> MegatransfersPerSecond;
    std::string Slot;  ///< "DIMM 0"; empty where unknown
};

struct MachineDetails {
    MachineKind Kind = MachineKind::Unknown;
    SourcedText Maker;

    // The texts of the record's fields, not yet cut to its limits.
    SourcedText ProductName;
    SourcedText ProductNumber;
    SourcedText SerialNumber;
    SourcedText Processor;
    SourcedText Memory;
    SourcedText OperatingSystem;
    SourcedText FirmwareVersion;
    SourcedText SystemBoard;
    SourcedText BuildIdentifier;
    Sourced<BiosCredential> BiosPassword;

    // Parts of fields; nothing or empty where unknown.
    std::optional<std::uint32_t> ProcessorCores;
    std::optional<std::uint32_t> ProcessorThreads;
    std::optional<std::uint64_t> InstalledBytes;
    std::optional<std::uint64_t> UsableBytes;
    std::vector<MemoryModule> MemoryModules;
    std::u16string FirmwareVersionAlone;
    std::u16string FirmwareDate;                 ///< ISO 8601 where the source's form is known
    std::string FirmwareKind;                    ///< "UEFI", "BIOS", "U-Boot"
    std::vector<std::string> BiosPasswordKinds;  ///< roles of the kernel's firmware-attributes class

    std::vector<TypeCPort> TypeCPorts;
};

}  // namespace daemon_service
