#include "daemon/machine/UsbTypeC.h"

#include <algorithm>

#include "platform/core/Text.h"

namespace daemon_service {

namespace {

constexpr std::u16string_view kSubfieldSeparator = u"(~!~)";

struct Generation {
    std::u16string_view Name;    ///< as the page that shows it looks for translations
    std::u16string_view Marker;  ///< as the page that leads there looks for a port worth showing
};

constexpr Generation Names(UsbGeneration generation) {
    switch (generation) {
        case UsbGeneration::Usb3Gen1:
            return {u"USB 3.1 Gen 1", u" USB 3.2 Gen 1"};
        case UsbGeneration::Usb3Gen2:
            return {u"USB 3.1 Gen 2", u" USB 3.2 Gen 2"};
        case UsbGeneration::Usb3Gen2x2:
            return {u"USB 3.2 Gen 2x2", u" USB 3.2 Gen 2"};
        case UsbGeneration::Usb4:
            return {u"USB4", u" USB 4"};
        default:
            return {};
    }
}

/// One reader takes the subfields between "(~!~)", the first two of them, and translates a generation in the
/// words of USB 3.1. The other cuts the whole field at commas and knows the words of USB 3.2, with a leading
/// blank. So a third subfield, which the first reader ignores, holds a comma and the words for the second.
std::u16string DeviceField(UsbGeneration best, std::size_t ports) {
    std::u16string device = best == UsbGeneration::Unknown ? u"USB Type-C" : u"USB 2.0";
    if (ports > 1) {
        device = u"Best of " + platform::ToText(std::uint64_t{ports}) + u" ports: " + device;
    }
    const auto [name, marker] = Names(best);
    if (name.empty()) {
        return device;
    }
    return device.append(kSubfieldSeparator)
        .append(name)
        .append(kSubfieldSeparator)
        .append(u",")
        .append(marker);
}

std::u16string SupportWord(bool supported) {
    return supported ? u"Supported" : u"NotSupported";
}

std::u16string Watts(std::optional<std::uint64_t> milliwatts) {
    if (!milliwatts) {
        return u"null";
    }
    const std::uint64_t tenths = (*milliwatts + 50) / 100;
    return platform::ToText(tenths / 10) + u"." + platform::ToText(tenths % 10) + u" W";
}

}  // namespace

std::vector<Field> UsbTypeCFields(const std::vector<TypeCPort>& ports) {
    if (ports.empty()) {
        return {};
    }
    TypeCPort best;
    for (const TypeCPort& port : ports) {
        best.Generation = std::max(best.Generation, port.Generation);
        best.PowerDelivery |= port.PowerDelivery;
        best.DisplayPort |= port.DisplayPort;
        best.Thunderbolt |= port.Thunderbolt;
        best.Charging |= port.Charging;
        best.Milliwatts = std::max(best.Milliwatts, port.Milliwatts);
    }
    return {{u"USB standard", DeviceField(best.Generation, ports.size())},
            {u"Power delivery", SupportWord(best.PowerDelivery)},
            {u"DisplayPort output", SupportWord(best.DisplayPort)},
            {u"Thunderbolt or USB4", SupportWord(best.Thunderbolt)},
            {u"Charging", SupportWord(best.Charging)},
            {u"Maximum power", Watts(best.Milliwatts)}};
}

std::vector<Field> ReadUsbTypeC(MachineFiles& files) {
    return UsbTypeCFields(ReadTypeCPorts(files));
}

}  // namespace daemon_service
