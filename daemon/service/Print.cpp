#include "daemon/service/Print.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "daemon/machine/ReadMachine.h"
#include "daemon/machine/Sources.h"
#include "daemon/machine/SystemInformation.h"
#include "daemon/machine/UsbTypeC.h"
#include "daemon/service/Details.h"
#include "daemon/service/Log.h"
#include "daemon/service/Options.h"
#include "platform/core/StandardOutput.h"
#include "platform/core/Text.h"

namespace daemon_service {

namespace {

constexpr std::size_t kLabelWidth = 20;
constexpr std::size_t kValueWidth = 56;

/// Filled up with blanks to `width` characters.
std::string Column(std::string text, std::size_t width) {
    const std::size_t length = platform::ToUtf32(platform::FromUtf8(text)).size();
    text.append(length < width ? width - length : 0, ' ');
    return text;
}

std::string Line(std::string_view label, const std::string& value, const std::string& source) {
    return platform::ToVisible("  " + Column(std::string(label), kLabelWidth) + " " +
                               Column(value, kValueWidth) + "  " + (source.empty() ? "-" : source)) +
           "\n";
}

std::string Line(std::string_view label, const SourcedText& field) {
    if (field.Value) {
        return Line(label, platform::ToValidUtf8(*field.Value), field.Source);
    }
    const std::string name = platform::ToUtf8(NameOf(field.Why));
    const std::string reason = ReasonOf(field.Why, field.Detail);
    return Line(label, "- (" + (reason == name ? name : name + ": " + reason) + ")", field.Source);
}

std::string Watts(std::uint64_t milliwatts) {
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%.1f W", static_cast<double>(milliwatts) / 1000);
    return text.data();
}

std::string Line(const TypeCPort& port) {
    std::string value;
    const auto add = [&value](const std::string& name, const std::string& text) {
        if (!text.empty()) {
            value += (value.empty() ? "" : "; ") + name + text;
        }
    };
    add("", port.Location);
    for (const std::string& standard : port.UsbStandards) {
        add("", standard);
    }
    add("data ", port.DataRole);
    add("power ", port.PowerRole);
    add("power delivery ",
        port.PowerDelivery ? port.PowerDeliveryRevision.empty() ? "yes" : port.PowerDeliveryRevision : "");
    for (const auto& [name, support] : {std::pair("DisplayPort ", port.DisplayPortSupport),
                                        {"Thunderbolt ", port.ThunderboltSupport},
                                        {"USB4 ", port.Usb4Support}}) {
        add(name, platform::ToUtf8(NameOf(support)));
    }
    add("gives ", port.Milliwatts ? Watts(*port.Milliwatts) : "");
    add("takes ", port.SinkMilliwatts ? Watts(*port.SinkMilliwatts) : "");
    if (const auto& partner = port.Partner) {
        add("plugged in: ", partner->ProductType.empty() ? "something" : partner->ProductType);
        add("", partner->Accessory);
        add("", partner->VendorId.empty() ? "" : partner->VendorId + ":" + partner->ProductId);
    }
    return Line(port.Name, value, port.Source);
}

/// As it is served.
std::string RecordLines(const std::vector<Field>& fields) {
    const std::u16string record = Joined(fields);
    return "  record (" + std::to_string(record.size()) + " characters)\n  " + platform::ToValidUtf8(record) +
           "\n";
}

}  // namespace

bool PrintMachine(const std::string& sysroot) {
    MachineFiles files(sysroot);
    const MachineDetails machine = ReadMachine(files);
    std::string text = "System information\n" + Line("Kind", platform::ToUtf8(NameOf(machine.Kind)), "") +
                       Line("Maker", machine.Maker);
    for (const DetailsField& field : kDetailsFields) {
        text += Line(field.Label, machine.*field.Text);
    }
    text += Line("BIOS password", BiosPasswordText(machine)) + RecordLines(SystemInformationFields(machine)) +
            "USB Type-C\n";
    for (const TypeCPort& port : machine.TypeCPorts) {
        text += Line(port);
    }
    text += RecordLines(UsbTypeCFields(machine.TypeCPorts));
    const bool written = platform::WriteStandardOutput(kProgram.Name, text);
    for (const std::string& note : files.Notes()) {
        Log(Priority::Information, note);
    }
    return written;
}

}  // namespace daemon_service
