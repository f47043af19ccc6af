#pragma once

// Power data objects, as the kernel's class usb_power_delivery shows them (Documentation/ABI/testing/
// sysfs-class-usb_power_delivery). Its files hold numbers with their unit: "5000mV", "3000mA", "15000mW".

#include <cstdint>
#include <optional>
#include <string>

#include "daemon/machine/MachineFiles.h"

namespace daemon_service {

/// The highest power, in milliwatts, of the objects in `folder` (".../source-capabilities",
/// ".../sink-capabilities"). Programmable supplies count only where there is no other: their highest voltage
/// and current are not available together beyond the power of the others.
std::optional<std::uint64_t> MostPower(MachineFiles& files, const std::string& folder);

}  // namespace daemon_service
