#pragma once

// Whether a credential guards the firmware's settings or the start. Only whether one is set is ever read;
// nothing here touches the credentials themselves.

#include <optional>
#include <span>

#include "daemon/machine/MachineFiles.h"
#include "daemon/machine/Smbios.h"

namespace daemon_service {

/// The numbers of the record's field.
enum class BiosCredential { None = 0, Password = 1, OtherKind = 16 };

/// From the kernel's firmware-attributes class, else from the firmware's table of type 24; nothing if neither
/// reports one. Uncertain states are never reported as None.
std::optional<BiosCredential> ReadBiosPassword(MachineFiles& files, std::span<const SmbiosStructure> tables);

}  // namespace daemon_service
