#include "daemon/machine/TypeCRouters.h"

#include "daemon/machine/Values.h"

namespace daemon_service {

std::vector<RouterPort> ReadRouterPorts(MachineFiles& files) {
    const std::string bus = "/sys/bus/thunderbolt/devices";
    std::vector<RouterPort> ports;
    for (const std::string& device : files.List(bus)) {
        // Only the machine's own router ("0-0", "1-0"), not what is plugged in behind it.
        const std::string router = PathOf({bus, device});
        const auto generation = Number(files.Read(router + "/generation").value_or(""));
        if (!device.ends_with("-0") || !generation) {
            continue;
        }
        RouterPort port{device, "", "sysfs bus/thunderbolt/devices/" + device, *generation, false};
        const std::size_t before = ports.size();
        for (const std::string& name : files.List(router)) {
            if (name.starts_with("usb4_port")) {
                const std::string folder = PathOf({router, name});
                port.Name = PathOf({device, name});
                port.Connector = ConnectorOf(files, folder);
                port.ThunderboltLink = Trimmed(files.Read(folder + "/link").value_or("")) == "tbt";
                ports.push_back(port);
            }
        }
        if (ports.size() == before) {
            ports.push_back(port);
        }
    }
    return ports;
}

std::string ConnectorOf(MachineFiles& files, const std::string& folder) {
    const std::string target = files.LinkTarget(folder + "/connector").value_or("");
    return target.substr(target.rfind('/') + 1);
}

}  // namespace daemon_service
