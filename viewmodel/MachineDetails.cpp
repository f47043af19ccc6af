#include "viewmodel/MachineDetails.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace Kelvane {

namespace {

using platform::JsonObject;

constexpr std::array<std::pair<std::u16string_view, MissingReason>, 5> kReasons = {{
    {u"notReported", MissingReason::NotReported},
    {u"placeholder", MissingReason::Placeholder},
    {u"absent", MissingReason::Absent},
    {u"denied", MissingReason::Denied},
    {u"damaged", MissingReason::Damaged},
}};

FieldDetails FieldOf(const JsonObject& object) {
    FieldDetails field{.Missing = {},
                       .Value = object.GetNamedString(u"value", u""),
                       .Source = object.GetNamedString(u"source"),
                       .Detail = object.GetNamedString(u"detail", u"")};
    if (object.Find(u"value") == nullptr) {
        const std::u16string& name = object.GetNamedString(u"missing");
        const auto* const known = std::ranges::find(kReasons, name, &decltype(kReasons)::value_type::first);
        field.Missing = known != kReasons.end() ? known->second : MissingReason::Unknown;
    }
    return field;
}

PortSupport SupportOf(const JsonObject& port, std::u16string_view name) {
    const std::u16string& support = port.GetNamedString(name);
    return support == u"yes" ? PortSupport::Yes : support == u"no" ? PortSupport::No : PortSupport::Unknown;
}

std::optional<double> NumberOf(const JsonObject& object, std::u16string_view name) {
    const auto* const value = object.Find(name);
    return value != nullptr ? std::optional(value->GetNumber()) : std::nullopt;
}

TypeCPortDetails PortOf(const JsonObject& object) {
    TypeCPortDetails port{
        .Name = object.GetNamedString(u"name"),
        .Location = object.GetNamedString(u"location", u""),
        .UsbStandards = {},
        .DataRole = object.GetNamedString(u"dataRole", u""),
        .PowerRole = object.GetNamedString(u"powerRole", u""),
        .PowerDelivery = object.GetNamedString(u"powerDelivery"),
        .DisplayPort = SupportOf(object, u"displayPort"),
        .Thunderbolt = SupportOf(object, u"thunderbolt"),
        .Usb4 = SupportOf(object, u"usb4"),
        .SourcePowerMilliwatts = NumberOf(object, u"sourcePowerMilliwatts"),
        .SinkPowerMilliwatts = NumberOf(object, u"sinkPowerMilliwatts"),
        .Partner = {},
        .Source = object.GetNamedString(u"source"),
    };
    for (const auto& standard : object.GetNamedArray(u"usbStandards")) {
        port.UsbStandards.push_back(standard.GetString());
    }
    if (const auto* const partner = object.Find(u"partner")) {
        port.Partner = partner->GetObject().GetNamedString(u"productType", u"");
    }
    return port;
}

/// 0 for none.
std::int64_t StatusOf(const JsonObject& object) {
    constexpr double kMost = 0xFFFFFFFF;
    const double status = NumberOf(object, u"status").value_or(0);
    if (std::abs(status) > kMost) {
        throw platform::Exception(platform::result::kInvalidJson,
                                  u"The details hold a number that is no status");
    }
    return static_cast<std::int64_t>(status);
}

FirmwareRequestDetails RequestOf(const JsonObject& object) {
    return {.BootEntry = object.GetNamedString(u"kind") == u"bootEntry" ? object.GetNamedString(u"name")
                                                                        : std::u16string(),
            .Supported = object.GetNamedBoolean(u"supported"),
            .Pending = object.GetNamedBoolean(u"pending"),
            .Status = StatusOf(object)};
}

}  // namespace

MachineDetails ParseMachineDetails(std::u16string_view json) {
    MachineDetails details;
    details.Document = JsonObject::Parse(json);
    const JsonObject& document = details.Document;
    if (document.GetNamedNumber(u"version") != 1) {
        throw platform::Exception(platform::result::kInvalidJson, u"The details are of another version");
    }
    const JsonObject& machine = document.GetNamedObject(u"machine");
    details.Kind = machine.GetNamedString(u"kind");
    details.Maker = FieldOf(machine.GetNamedObject(u"maker"));
    for (const auto& [key, field] : document.GetNamedObject(u"fields")) {
        details.Fields.emplace(key, FieldOf(field.GetObject()));
    }
    for (const auto& port : document.GetNamedObject(u"usbTypeC").GetNamedArray(u"ports")) {
        details.Ports.push_back(PortOf(port.GetObject()));
    }
    if (const auto* const request = document.Find(u"firmwareRequest")) {
        details.FirmwareRequest = RequestOf(request->GetObject());
    }
    return details;
}

}  // namespace Kelvane
