#pragma once

// How much memory the machine has, and how much of it the system can use.

#include <cstdint>
#include <optional>
#include <span>

#include "daemon/machine/MachineDetails.h"
#include "daemon/machine/Smbios.h"
#include "daemon/machine/Sources.h"

namespace daemon_service {

/// Bytes of the modules in the machine's memory slots by the firmware's tables (types 16 and 17); nothing
/// when the tables list none or leave the size of one open.
std::optional<std::uint64_t> InstalledMemory(std::span<const SmbiosStructure> tables);

/// Fills in memory, its parts and its modules: "16 GB (15.6 GB usable)"; "15.6 GB usable" where no source
/// has an installed size that is as large; "16 GB" where only that is known. 1 GB is 2^30 bytes. Pages find
/// and translate the word "usable".
void ReadMemory(Sources& sources, MachineDetails& machine);

}  // namespace daemon_service
