#pragma once

// The machine's own Thunderbolt and USB4 routers (Documentation/ABI/testing/sysfs-bus-thunderbolt).

#include <cstdint>
#include <string>
#include <vector>

#include "daemon/machine/MachineFiles.h"

namespace daemon_service {

/// A port of a router. A router whose ports the kernel does not list counts as one port.
struct RouterPort {
    std::string Name;       ///< "0-0/usb4_port1", "0-0"
    std::string Connector;  ///< the Type-C port's name; empty where the kernel does not link them
    std::string Source;
    std::uint64_t Generation;  ///< 1 to 3 of Thunderbolt, 4 for USB4
    bool ThunderboltLink;      ///< a Thunderbolt 3 device is connected

    bool Usb4() const { return Generation >= 4; }
    bool Thunderbolt() const { return !Usb4() || ThunderboltLink; }
    /// Generations 1 and 2 have another connector, and 1 is also what the kernel gives to unknown routers.
    bool TypeC() const { return Generation >= 3; }
};

std::vector<RouterPort> ReadRouterPorts(MachineFiles& files);

/// The Type-C port's name at the end of the connector link in `folder`; empty if there is no such link.
std::string ConnectorOf(MachineFiles& files, const std::string& folder);

}  // namespace daemon_service
