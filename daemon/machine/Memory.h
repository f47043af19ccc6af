#pragma once

// How much memory the machine has, and how much of it the system can use.

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "daemon/machine/MachineFiles.h"
#include "daemon/machine/Smbios.h"

namespace daemon_service {

/// Bytes of the modules in the machine's memory slots by the firmware's tables (types 16 and 17); nothing
/// when the tables list none or leave the size of one open.
std::optional<std::uint64_t> InstalledMemory(std::span<const SmbiosStructure> tables);

/// "16 GB (15.6 GB usable)"; "15.6 GB usable" where no source tells an installed size that is as large; "16
/// GB" where only that is known. 1 GB is 2^30 bytes. Pages find and translate the word "usable".
std::optional<std::u16string> ReadMemory(MachineFiles& files, std::span<const SmbiosStructure> tables);

}  // namespace daemon_service
