#pragma once

// The machine's USB Type-C ports and what each of them can do, as the kernel tells it: the classes typec,
// usb_power_delivery, the USB and the Thunderbolt bus (Documentation/ABI/testing/sysfs-class-typec,
// sysfs-class-usb_power_delivery, sysfs-bus-usb, sysfs-bus-thunderbolt, sysfs-bus-typec of the kernel).

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "daemon/machine/MachineFiles.h"

namespace daemon_service {

/// In rising order; Unknown means that only the port itself is known.
enum class UsbGeneration { Unknown, Usb2, Usb3Gen1, Usb3Gen2, Usb3Gen2x2, Usb4 };

struct TypeCPort {
    std::string Name;
    UsbGeneration Generation = UsbGeneration::Unknown;
    bool PowerDelivery = false;
    bool DisplayPort = false;
    bool Thunderbolt = false;                   ///< Thunderbolt 3 or USB4
    bool Charging = false;                      ///< can take power in
    std::optional<std::uint64_t> Milliwatts{};  ///< most that it gives out
};

/// One entry a port. Where the kernel knows no Type-C class, the firmware's table of connectors (type 8) may
/// tell that ports exist, and nothing else of them.
std::vector<TypeCPort> ReadTypeCPorts(MachineFiles& files);

/// The most that the power objects in `folder` (".../source-capabilities") offer, in milliwatts.
std::optional<std::uint64_t> MostPower(MachineFiles& files, const std::string& folder);

}  // namespace daemon_service
