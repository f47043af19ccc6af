#pragma once

// What the machine is: the record's fields that name it. Each function walks its sources in order and gives
// the first value; nothing means that no source tells, and the notes say why.

#include <optional>
#include <span>
#include <string>

#include "daemon/machine/MachineFiles.h"
#include "daemon/machine/Smbios.h"

namespace daemon_service {

struct Product {
    std::optional<std::u16string> Name;
    std::optional<std::u16string> Number;
};

/// Some makers put an order code into the name and the readable name into the version; then the two change
/// places.
Product ReadProduct(MachineFiles& files);

std::optional<std::u16string> ReadProcessor(MachineFiles& files, std::span<const SmbiosStructure> tables);

/// Name of the distribution and kernel release: "Debian GNU/Linux 12 (bookworm), Linux 6.1.0-18-amd64".
std::optional<std::u16string> ReadOperatingSystem(MachineFiles& files);

/// Version, ISO date and "UEFI" as far as known: "N32ET91W (1.67), 2023-10-05, UEFI".
std::optional<std::u16string> ReadFirmwareVersion(MachineFiles& files);

/// Maker, name and version.
std::optional<std::u16string> ReadSystemBoard(MachineFiles& files);

std::optional<std::u16string> ReadSerialNumber(MachineFiles& files);

/// The distribution's build or image, else the kernel's release.
std::optional<std::u16string> ReadBuildIdentifier(MachineFiles& files);

}  // namespace daemon_service
