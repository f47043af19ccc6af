#pragma once

// The machine's USB Type-C ports and what each of them can do, as the kernel reports it: the classes typec
// and usb_power_delivery, the USB and the Thunderbolt bus (Documentation/ABI/testing/sysfs-class-typec,
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

    // For the record, which has the best of all ports. False also means unknown; where one of several ports
    // is a router's and the kernel does not report which, each of them counts.
    UsbGeneration Generation = UsbGeneration::Unknown;
    bool PowerDelivery = false;
    bool DisplayPort = false;
    bool Thunderbolt = false;                   ///< Thunderbolt or USB4
    bool Charging = false;                      ///< can take power in
    std::optional<std::uint64_t> Milliwatts{};  ///< most that it gives out

    // For the details. Empty, nothing or Unknown where no source reports the value.
    std::string Location{};                   ///< "panel left, vertical upper, horizontal center"
    std::vector<std::string> UsbStandards{};  ///< "USB 2.0", "USB 3.2 Gen 2", "USB 3.2", "USB4"
    std::string DataRole{};                   ///< "host", "device", "dual"
    std::string PowerRole{};                  ///< "source", "sink", "dual"
    std::string PowerDeliveryRevision{};      ///< "3.0"
    Support DisplayPortSupport = Support::Unknown;
    Support ThunderboltSupport = Support::Unknown;
    Support Usb4Support = Support::Unknown;
    std::optional<std::uint64_t> SinkMilliwatts{};  ///< most that it takes in
    std::optional<TypeCPartner> Partner{};
    std::string Source{};  ///< "sysfs class/typec/port0", "sysfs bus/thunderbolt/devices/0-0", "smbios 8"
};

/// One entry per port. Where the kernel has no class of ports, USB4 and Thunderbolt 3 routers prove their
/// ports, and the firmware's table of connectors (type 8) proves that ports exist and nothing else.
std::vector<TypeCPort> ReadTypeCPorts(MachineFiles& files);

}  // namespace daemon_service
