#pragma once

// The machine's USB Type-C ports and what each of them can do, as the kernel tells it: the classes typec and
// usb_power_delivery, the USB and the Thunderbolt bus (Documentation/ABI/testing/sysfs-class-typec,
// sysfs-class-usb_power_delivery, sysfs-bus-usb, sysfs-bus-thunderbolt, sysfs-bus-typec,
// sysfs-devices-physical_location of the kernel).

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
    std::string ProductType;  ///< "hub", "peripheral", "psd", "ama" ... (sysfs type)
    std::string Accessory;    ///< "audio", "debug"
    std::string VendorId;     ///< four hexadecimal digits
    std::string ProductId;
    std::optional<bool> PowerDelivery;
};

struct TypeCPort {
    std::string Name;

    // What the record is made of, which tells the best over all ports: false is also what is not known, and
    // where a router serves one of several ports, and the kernel does not say which, every port counts as it.
    UsbGeneration Generation = UsbGeneration::Unknown;
    bool PowerDelivery = false;
    bool DisplayPort = false;
    bool Thunderbolt = false;                   ///< Thunderbolt or USB4
    bool Charging = false;                      ///< can take power in
    std::optional<std::uint64_t> Milliwatts{};  ///< most that it gives out

    // What the details tell of this port beside that; empty, nothing or Unknown where no source says it.
    std::string Location{};  ///< "panel left, vertical upper, horizontal center"
    std::vector<std::string>
        UsbStandards{};       ///< "USB 2.0", "USB 3.2 Gen 2", "USB4"; "USB 3.2" of unknown generation
    std::string DataRole{};   ///< "host", "device", "dual"
    std::string PowerRole{};  ///< "source", "sink", "dual"
    std::string PowerDeliveryRevision{};  ///< "3.0"
    Support DisplayPortSupport = Support::Unknown;
    Support ThunderboltSupport = Support::Unknown;
    Support Usb4Support = Support::Unknown;
    std::optional<std::uint64_t> SinkMilliwatts{};  ///< most that it takes in
    std::optional<TypeCPartner> Partner{};
    std::string Source{};  ///< "sysfs class/typec/port0", "sysfs bus/thunderbolt/devices/0-0", "smbios 8"
};

/// One entry per port. Where the kernel has no class of ports, a USB4 or Thunderbolt 3 router proves its
/// ports, and the firmware's table of connectors (type 8) that ports exist, and nothing else of them.
std::vector<TypeCPort> ReadTypeCPorts(MachineFiles& files);

}  // namespace daemon_service
