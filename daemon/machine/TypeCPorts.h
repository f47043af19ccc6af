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

/// Whether a port can do something. No only where a source says so.
enum class Support { Unknown, No, Yes };

/// What is plugged in, as far as the kernel knows; empty where it does not.
struct TypeCPartner {
    std::string ProductType;  ///< "hub", "peripheral", "psd", "ama" ... (sysfs product_type)
    std::string Accessory;    ///< "audio", "debug"
    std::string VendorId;     ///< four hexadecimal digits
    std::string ProductId;
    std::optional<bool> PowerDelivery;
};

struct TypeCPort {
    std::string Name;
    UsbGeneration Generation = UsbGeneration::Unknown;
    bool PowerDelivery = false;
    bool DisplayPort = false;
    bool Thunderbolt = false;                   ///< Thunderbolt 3 or USB4
    bool Charging = false;                      ///< can take power in
    std::optional<std::uint64_t> Milliwatts{};  ///< most that it gives out

    // What the details tell of the port beside that; empty, nothing or Unknown where no source says it.
    std::string Location{};
    std::vector<std::string> UsbStandards{};  ///< "USB 2.0", "USB 3.2 Gen 2", "USB4"
    std::string DataRole{};                   ///< "host", "device", "dual"
    std::string PowerRole{};                  ///< "source", "sink", "dual"
    std::string PowerDeliveryRevision{};      ///< "3.0"
    Support DisplayPortSupport = Support::Unknown;
    Support ThunderboltSupport = Support::Unknown;
    Support Usb4Support = Support::Unknown;
    std::optional<std::uint64_t> SinkMilliwatts{};
    std::optional<TypeCPartner> Partner{};
    std::string Source{};
};

/// One entry a port. Where the kernel knows no Type-C class, the firmware's table of connectors (type 8) may
/// tell that ports exist, and nothing else of them.
std::vector<TypeCPort> ReadTypeCPorts(MachineFiles& files);

/// The most that the power objects in `folder` (".../source-capabilities") offer, in milliwatts.
std::optional<std::uint64_t> MostPower(MachineFiles& files, const std::string& folder);

}  // namespace daemon_service
