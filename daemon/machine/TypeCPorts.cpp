#include "daemon/machine/TypeCPorts.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <utility>

#include "daemon/machine/Smbios.h"
#include "daemon/machine/TypeCPower.h"
#include "daemon/machine/TypeCRouters.h"
#include "daemon/machine/Values.h"

namespace daemon_service {

namespace {

const std::string kTypeC = "/sys/class/typec/";
const std::string kUsb = "/sys/bus/usb/devices/";

std::string Attribute(MachineFiles& files, const std::string& path) {
    return std::string(Trimmed(files.Read(path).value_or("")));
}

bool Has(std::string_view text, std::string_view word) {
    return text.find(word) != std::string_view::npos;
}

/// A name that the kernel gives, such as "upper" or "3.0"; empty where it gives a name for not knowing or for
/// nothing, and for what is no name.
std::string Name(MachineFiles& files, const std::string& path) {
    constexpr std::array kNothing{"unknown", "undefined", "none", "not_ufp", "not_dfp", "0.0"};
    constexpr std::size_t kLongest = 32;
    std::string name = Attribute(files, path);
    if (std::ranges::count(kNothing, name) > 0 || name.size() > kLongest ||
        name.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789_.") != std::string::npos) {
        name.clear();
    }
    return name;
}

/// "port" and digits: a port itself, not its partner, cable or plug.
bool IsPort(const std::string& name) {
    return name.starts_with("port") && Number(name.substr(4)).has_value();
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

using Generations = std::set<UsbGeneration>;

/// What the hubs behind each Type-C port can do: a hub's ports link to their connector.
std::map<std::string, Generations> GenerationsByHub(MachineFiles& files) {
    std::map<std::string, Generations> generations;
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
            if (!Has(name, "-port")) {
                continue;
            }
            const std::string port = ConnectorOf(files, PathOf({kUsb + interface, name}));
            if (IsPort(port)) {
                const auto speed = Number(Attribute(files, kUsb + hub + "/speed"));
                generations[port].insert(FromSpeed(speed.value_or(0)));
            }
        }
    }
    return generations;
}

/// What a port gives out by its pull-ups alone, while it is the one that gives.
std::optional<std::uint64_t> PowerWithoutDelivery(MachineFiles& files, const TypeCPort& port) {
    const std::string folder = kTypeC + port.Name + "/";
    if (!Has(Attribute(files, folder + "power_role"), "[source]")) {
        return std::nullopt;
    }
    const std::string mode = Attribute(files, folder + "power_operation_mode");
    if (mode == "3.0A") {
        return 15000;
    }
    if (mode == "1.5A") {
        return 7500;
    }
    if (mode == "default" && port.Generation != UsbGeneration::Unknown) {
        return port.Generation >= UsbGeneration::Usb3Gen1 ? 4500 : 2500;
    }
    return std::nullopt;
}

/// `roles` is "[host] device" for a port that can take both roles, the present one in brackets.
std::string Role(std::string_view roles, const char* one, const char* other) {
    if (Has(roles, one)) {
        return Has(roles, other) ? "dual" : one;
    }
    return Has(roles, other) ? other : "";
}

/// "panel left, vertical upper, horizontal center", without what the kernel does not know.
std::string ReadLocation(MachineFiles& files, const std::string& folder) {
    struct Part {
        const char* label;
        std::string value;
    };
    std::string location;
    for (const Part& part : {Part{"panel ", Name(files, folder + "panel")},
                             Part{"vertical ", Name(files, folder + "vertical_position")},
                             Part{"horizontal ", Name(files, folder + "horizontal_position")},
                             Part{"", Attribute(files, folder + "lid") == "yes" ? "lid" : ""},
                             Part{"", Attribute(files, folder + "dock") == "yes" ? "dock" : ""}}) {
        if (!part.value.empty()) {
            location.append(location.empty() ? "" : ", ").append(part.label).append(part.value);
        }
    }
    return location;
}

std::vector<std::string> Standards(const Generations& byHub, std::string_view capability) {
    std::vector<std::string> standards;
    if (byHub.contains(UsbGeneration::Usb2) || Has(capability, "usb2")) {
        standards.emplace_back("USB 2.0");
    }
    const bool usb3 = byHub.upper_bound(UsbGeneration::Usb2) != byHub.end();
    if (!usb3 && Has(capability, "usb3")) {
        standards.emplace_back("USB 3.2");
    }
    for (const auto& [generation, name] : {std::pair{UsbGeneration::Usb3Gen1, "USB 3.2 Gen 1"},
                                           std::pair{UsbGeneration::Usb3Gen2, "USB 3.2 Gen 2"},
                                           std::pair{UsbGeneration::Usb3Gen2x2, "USB 3.2 Gen 2x2"}}) {
        if (byHub.contains(generation)) {
            standards.emplace_back(name);
        }
    }
    return standards;
}

/// A value of Discover Identity as the kernel writes it, "0x05ac8a2d"; empty while it has none.
std::string Identity(MachineFiles& files, const std::string& path) {
    std::string text = Attribute(files, path);
    constexpr std::size_t kSize = 10;
    if (text.size() != kSize || !text.starts_with("0x") || Number(text.substr(2), 16).value_or(0) == 0) {
        text.clear();
    }
    return text;
}

/// Nothing where nothing is plugged in.
std::optional<TypeCPartner> ReadPartner(MachineFiles& files, const std::string& folder) {
    const std::vector<std::string> names = files.List(folder);
    if (names.empty()) {
        return std::nullopt;
    }
    TypeCPartner partner;
    partner.ProductType = Name(files, folder + "type");
    partner.Accessory = Name(files, folder + "accessory_mode");
    if (partner.Accessory == "analog_audio") {
        partner.Accessory = "audio";
    }
    const std::string delivery = Attribute(files, folder + "supports_usb_power_delivery");
    if (delivery == "yes" || delivery == "no") {
        partner.PowerDelivery = delivery == "yes";
    }
    // The vendor is in the lower half of its word, the product in the upper half.
    const std::string header = Identity(files, folder + "identity/id_header");
    const std::string product = Identity(files, folder + "identity/product");
    if (!header.empty() && !header.ends_with("0000")) {
        partner.VendorId = header.substr(6);
        partner.ProductId = product.empty() ? "" : product.substr(2, 4);
        return partner;
    }
    // Where the controller keeps the identity to itself, the USB device ("3-1") has one.
    for (const std::string& name : names) {
        if (partner.VendorId.empty() && name.find_first_of("0123456789") == 0) {
            partner.VendorId = Name(files, folder + name + "/idVendor");
            partner.ProductId = Name(files, folder + name + "/idProduct");
        }
    }
    return partner;
}

void ReadAlternateModes(MachineFiles& files, TypeCPort& port) {
    const std::string folder = kTypeC + port.Name;
    for (const std::string& mode : files.List(folder)) {
        const std::string svid =
            mode.starts_with(port.Name + ".") ? Attribute(files, PathOf({folder, mode, "svid"})) : "";
        // Controllers are known to list only some of their modes, so a mode that is missing says nothing.
        if (svid == "ff01") {
            port.DisplayPortSupport = Support::Yes;
        } else if (svid == "8087") {
            port.ThunderboltSupport = Support::Yes;
        }
    }
}

void ReadPower(MachineFiles& files, TypeCPort& port) {
    const std::string folder = kTypeC + port.Name + "/";
    const std::string roles = Attribute(files, folder + "power_role");
    port.PowerRole = Role(roles, "source", "sink");
    port.Milliwatts = MostPower(files, folder + "usb_power_delivery/source-capabilities");
    port.SinkMilliwatts = MostPower(files, folder + "usb_power_delivery/sink-capabilities");
    port.Charging = port.SinkMilliwatts ? *port.SinkMilliwatts > 0 : Has(roles, "sink");
    port.PowerDeliveryRevision = Name(files, folder + "usb_power_delivery_revision");
    if (port.PowerDeliveryRevision.empty()) {
        port.PowerDeliveryRevision = Name(files, folder + "usb_power_delivery/revision");
    }
    port.PowerDelivery = port.Milliwatts || port.SinkMilliwatts || !port.PowerDeliveryRevision.empty();
}

/// Adds what the kernel's class and the hubs show of the port of that name.
void ReadPort(MachineFiles& files, TypeCPort& port, const Generations& byHub) {
    const std::string folder = kTypeC + port.Name + "/";
    const std::string capability = Attribute(files, folder + "usb_capability");
    port.Generation = byHub.empty() ? UsbGeneration::Unknown : *byHub.rbegin();
    if (Has(capability, "usb3")) {
        port.Generation = std::max(port.Generation, UsbGeneration::Usb3Gen1);
    } else if (Has(capability, "usb2")) {
        port.Generation = std::max(port.Generation, UsbGeneration::Usb2);
    }
    if (!capability.empty()) {
        port.Usb4Support = Has(capability, "usb4") ? Support::Yes : Support::No;
    }
    port.UsbStandards = Standards(byHub, capability);
    port.DataRole = Role(Attribute(files, folder + "data_role"), "host", "device");
    port.Location = ReadLocation(files, folder + "physical_location/");
    ReadAlternateModes(files, port);
    ReadPower(files, port);
    port.Partner = ReadPartner(files, kTypeC + port.Name + "-partner/");
}

TypeCPort Port(std::string name, std::string source) {
    TypeCPort port;
    port.Name = std::move(name);
    port.Source = std::move(source);
    return port;
}

std::vector<TypeCPort> PortsByClass(MachineFiles& files) {
    std::vector<TypeCPort> ports;
    for (const std::string& name : files.List(kTypeC)) {
        if (IsPort(name)) {
            ports.push_back(Port(name, "sysfs class/typec/" + name));
        }
    }
    return ports;
}

std::vector<TypeCPort> PortsByRouter(const std::vector<RouterPort>& routers) {
    std::vector<TypeCPort> ports;
    for (const RouterPort& router : routers) {
        if (router.TypeC()) {
            TypeCPort port = Port(router.Name, router.Source);
            port.Usb4Support = router.Usb4() ? Support::Yes : Support::Unknown;
            port.ThunderboltSupport = router.Thunderbolt() ? Support::Yes : Support::Unknown;
            ports.push_back(std::move(port));
        }
    }
    return ports;
}

std::vector<TypeCPort> PortsByFirmware(MachineFiles& files) {
    constexpr std::uint8_t kUsbTypeCReceptacle = 0x23;
    std::vector<TypeCPort> ports;
    const std::string bytes = ReadSmbios(files);
    for (const SmbiosStructure& structure : ParseSmbios(bytes)) {
        if (structure.Type == smbios::kPortConnector && structure.Byte(0x07) == kUsbTypeCReceptacle) {
            ports.push_back(Port("connector " + std::to_string(ports.size()), "smbios 8"));
        }
    }
    return ports;
}

/// For a kernel without a class of ports: those of the source that lists more.
std::vector<TypeCPort> PortsWithoutClass(MachineFiles& files, const std::vector<RouterPort>& routers) {
    std::vector<TypeCPort> byRouter = PortsByRouter(routers);
    std::vector<TypeCPort> byFirmware = PortsByFirmware(files);
    if (byFirmware.size() <= byRouter.size()) {
        return byRouter;
    }
    files.Note("USB Type-C: the kernel shows no ports, the firmware's tables list " +
               std::to_string(byFirmware.size()) + "; what they can do is not known");
    return byFirmware;
}

/// The names of the Type-C ports that belong to the routers' ports which `which` accepts; empty where the
/// kernel does not report the connector.
std::vector<std::string> Connectors(const std::vector<RouterPort>& routers,
                                    bool (RouterPort::*which)() const) {
    std::vector<std::string> connectors;
    for (const RouterPort& router : routers) {
        if (router.TypeC() && (router.*which)()) {
            connectors.push_back(router.Connector);
        }
    }
    return connectors;
}

/// Sets `support` to Yes for the ports that `connectors` names. An empty name is a router's port whose
/// connector the kernel does not report: with a single port it is that one. With several, a port's No counts
/// only if another port's Yes shows that their controller can report one.
void MarkServed(std::vector<TypeCPort>& ports, Support TypeCPort::*support,
                const std::vector<std::string>& connectors) {
    const bool unnamed = std::ranges::count(connectors, "") > 0;
    const bool reported = std::ranges::count(ports, Support::Yes, support) > 0;
    for (TypeCPort& port : ports) {
        if (std::ranges::count(connectors, port.Name) > 0 || (unnamed && ports.size() == 1)) {
            port.*support = Support::Yes;
        } else if (unnamed && !reported) {
            port.*support = Support::Unknown;
        }
    }
}

}  // namespace

std::vector<TypeCPort> ReadTypeCPorts(MachineFiles& files) {
    const std::vector<RouterPort> routers = ReadRouterPorts(files);
    const std::vector<std::string> usb4 = Connectors(routers, &RouterPort::Usb4);
    const bool anyLink = std::ranges::any_of(usb4, [](const std::string& name) { return !name.empty(); });
    const bool allLinks = anyLink && std::ranges::count(usb4, "") == 0;

    std::vector<TypeCPort> ports = PortsByClass(files);
    const bool byClass = !ports.empty();
    if (byClass) {
        auto generations = GenerationsByHub(files);
        for (TypeCPort& port : ports) {
            ReadPort(files, port, generations[port.Name]);
        }
    } else {
        ports = PortsWithoutClass(files, routers);
    }
    MarkServed(ports, &TypeCPort::Usb4Support, usb4);
    MarkServed(ports, &TypeCPort::ThunderboltSupport, Connectors(routers, &RouterPort::Thunderbolt));
    const bool thunderbolt = std::ranges::any_of(routers, &RouterPort::Thunderbolt);
    for (TypeCPort& port : ports) {
        if (port.Usb4Support == Support::Yes) {
            port.UsbStandards.emplace_back("USB4");
            port.Generation = UsbGeneration::Usb4;
        } else if (allLinks) {
            port.Usb4Support = Support::No;
        }
        if (byClass && !port.Milliwatts) {
            port.Milliwatts = PowerWithoutDelivery(files, port);
        }
        // From here on for the record, which has the best of all ports: any of them may be the router's.
        if (!usb4.empty() && !anyLink) {
            port.Generation = UsbGeneration::Usb4;
        }
        port.DisplayPort = port.DisplayPortSupport == Support::Yes;
        port.Thunderbolt =
            thunderbolt || port.ThunderboltSupport == Support::Yes || port.Generation == UsbGeneration::Usb4;
        if (byClass && port.Generation == UsbGeneration::Unknown) {
            files.Note(kTypeC + port.Name +
                       "/: neither usb_capability nor a hub's connector link has the USB generation");
        }
    }
    return ports;
}

}  // namespace daemon_service
