#include "daemon/machine/TypeCPorts.h"

#include <algorithm>
#include <map>

#include "daemon/machine/Smbios.h"
#include "daemon/machine/Values.h"

namespace daemon_service {

namespace {

const std::string kTypeC = "/sys/class/typec/";
const std::string kUsb = "/sys/bus/usb/devices/";
const std::string kThunderbolt = "/sys/bus/thunderbolt/devices/";

std::string Attribute(MachineFiles& files, const std::string& path) {
    return std::string(Trimmed(files.Read(path).value_or("")));
}

/// "port" and digits: a port itself, not its partner, cable or plug.
bool IsPort(const std::string& name) {
    return name.starts_with("port") && Number(name.substr(4)).has_value();
}

/// The port's name at the end of a connector link; empty if there is no such link.
std::string ConnectorOf(MachineFiles& files, const std::string& folder) {
    const std::string target = files.LinkTarget(folder + "/connector").value_or("");
    return target.substr(target.rfind('/') + 1);
}

UsbGeneration FromSpeed(std::uint64_t megabits) {
    if (megabits >= 20000) {
        return UsbGeneration::Usb3Gen2x2;
    }
    if (megabits >= 10000) {
        return UsbGeneration::Usb3Gen2;
    }
    if (megabits >= 5000) {
        return UsbGeneration::Usb3Gen1;
    }
    return megabits >= 480 ? UsbGeneration::Usb2 : UsbGeneration::Unknown;
}

/// The fastest hub behind each Type-C port: the hub's ports link to their connector.
std::map<std::string, UsbGeneration> GenerationsByHub(MachineFiles& files) {
    std::map<std::string, UsbGeneration> generations;
    for (const std::string& interface : files.List(kUsb)) {
        const auto colon = interface.find(':');
        if (colon == std::string::npos) {
            continue;
        }
        // Interface "2-0:1.0" belongs to root hub "usb2", "2-1:1.0" to hub "2-1".
        std::string hub = interface.substr(0, colon);
        if (hub.ends_with("-0")) {
            hub = "usb" + hub.substr(0, hub.size() - 2);
        }
        for (const std::string& name : files.List(kUsb + interface)) {
            if (name.find("-port") == std::string::npos) {
                continue;
            }
            const std::string port = ConnectorOf(files, PathOf({kUsb + interface, name}));
            if (IsPort(port)) {
                const auto speed = Number(Attribute(files, kUsb + hub + "/speed"));
                generations[port] = std::max(generations[port], FromSpeed(speed.value_or(0)));
            }
        }
    }
    return generations;
}

struct Usb4Ports {
    std::vector<std::string> Names;
    bool Router = false;  ///< the machine has a USB4 router, whichever port it serves
};

Usb4Ports ReadUsb4(MachineFiles& files) {
    Usb4Ports ports;
    for (const std::string& device : files.List(kThunderbolt)) {
        // Only the machine's own router ("0-0", "1-0"), not what is plugged in behind it.
        if (!device.ends_with("-0") || Number(Attribute(files, kThunderbolt + device + "/generation")) != 4) {
            continue;
        }
        ports.Router = true;
        for (const std::string& name : files.List(kThunderbolt + device)) {
            if (name.starts_with("usb4_port")) {
                ports.Names.push_back(ConnectorOf(files, PathOf({kThunderbolt + device, name})));
            }
        }
        std::erase(ports.Names, "");
    }
    return ports;
}

/// The number at the front of "5000mV", "3000mA" or "15000mW".
std::optional<std::uint64_t> WithUnit(MachineFiles& files, const std::string& path, std::string_view unit) {
    const std::string text = Attribute(files, path);
    if (!text.ends_with(unit)) {
        return std::nullopt;
    }
    const auto number = Number(std::string_view(text).substr(0, text.size() - unit.size()));
    return number && *number <= 1'000'000 ? number : std::nullopt;
}

/// What a port gives out by its pull-ups alone, while it is the one that gives.
std::optional<std::uint64_t> PowerWithoutDelivery(const std::string& mode, UsbGeneration generation) {
    if (mode == "3.0A") {
        return 15000;
    }
    if (mode == "1.5A") {
        return 7500;
    }
    if (mode == "default" && generation != UsbGeneration::Unknown) {
        return generation >= UsbGeneration::Usb3Gen1 ? 4500 : 2500;
    }
    return std::nullopt;
}

TypeCPort ReadPort(MachineFiles& files, const std::string& name, UsbGeneration byHub, bool usb4) {
    const std::string folder = kTypeC + name + "/";
    TypeCPort port{.Name = name, .Generation = byHub};

    const std::string capability = Attribute(files, folder + "usb_capability");
    const auto has = [&capability](const char* word) { return capability.find(word) != std::string::npos; };
    if (usb4 || has("usb4")) {
        port.Generation = UsbGeneration::Usb4;
    } else if (has("usb3")) {
        port.Generation = std::max(port.Generation, UsbGeneration::Usb3Gen1);
    } else if (has("usb2")) {
        port.Generation = std::max(port.Generation, UsbGeneration::Usb2);
    }
    port.Thunderbolt = port.Generation == UsbGeneration::Usb4;

    for (const std::string& mode : files.List(kTypeC + name)) {
        if (mode.starts_with(name + ".")) {
            const std::string svid = Attribute(files, folder + mode + "/svid");
            port.DisplayPort |= svid == "ff01";
            port.Thunderbolt |= svid == "8087";
        }
    }

    // "[source] sink" is a port that gives now and could also take; the brackets mark the present role.
    const std::string roles = Attribute(files, folder + "power_role");
    port.Charging = roles.find("sink") != std::string::npos;

    const std::string revision = Attribute(files, folder + "usb_power_delivery_revision");
    port.Milliwatts = MostPower(files, folder + "usb_power_delivery/source-capabilities");
    port.PowerDelivery = port.Milliwatts.has_value() || (!revision.empty() && revision != "0.0");
    if (!port.Milliwatts && roles.find("[source]") != std::string::npos) {
        port.Milliwatts =
            PowerWithoutDelivery(Attribute(files, folder + "power_operation_mode"), port.Generation);
    }
    if (port.Generation == UsbGeneration::Unknown) {
        files.Note(folder + ": neither usb_capability nor a hub's connector link tells the USB generation");
    }
    return port;
}

std::vector<TypeCPort> PortsByFirmware(MachineFiles& files) {
    constexpr std::uint8_t kUsbTypeCReceptacle = 0x23;
    std::vector<TypeCPort> ports;
    const std::string bytes = ReadSmbios(files);
    for (const SmbiosStructure& structure : ParseSmbios(bytes)) {
        if (structure.Type == smbios::kPortConnector && structure.Byte(0x07) == kUsbTypeCReceptacle) {
            ports.push_back({.Name = "connector " + std::to_string(ports.size())});
        }
    }
    if (!ports.empty()) {
        files.Note("USB Type-C: the kernel shows no ports, the firmware's tables list " +
                   std::to_string(ports.size()) + "; what they can do is not known");
    }
    return ports;
}

}  // namespace

std::optional<std::uint64_t> MostPower(MachineFiles& files, const std::string& folder) {
    std::optional<std::uint64_t> most;
    for (const std::string& name : files.List(folder)) {
        const std::string object = PathOf({folder, name, ""});
        std::optional<std::uint64_t> milliwatts;
        if (name.ends_with(":battery")) {
            milliwatts = WithUnit(files, object + "maximum_power", "mW");
        } else {
            const char* voltage = name.ends_with(":fixed_supply") ? "voltage" : "maximum_voltage";
            const auto millivolts = WithUnit(files, object + voltage, "mV");
            const auto milliamperes = WithUnit(files, object + "maximum_current", "mA");
            if (millivolts && milliamperes) {
                milliwatts = *millivolts * *milliamperes / 1000;
            }
        }
        most = std::max(most, milliwatts);
    }
    return most;
}

std::vector<TypeCPort> ReadTypeCPorts(MachineFiles& files) {
    std::vector<std::string> names = files.List(kTypeC);
    std::erase_if(names, [](const std::string& name) { return !IsPort(name); });
    if (names.empty()) {
        return PortsByFirmware(files);
    }
    auto generations = GenerationsByHub(files);
    const Usb4Ports usb4 = ReadUsb4(files);
    std::vector<TypeCPort> ports;
    for (const std::string& name : names) {
        // Older kernels do not link the router's ports to connectors; then every port may be one of them.
        const bool isUsb4 = usb4.Names.empty() ? usb4.Router : std::ranges::count(usb4.Names, name) > 0;
        ports.push_back(ReadPort(files, name, generations[name], isUsb4));
    }
    return ports;
}

}  // namespace daemon_service
