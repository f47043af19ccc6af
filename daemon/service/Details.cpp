#include "daemon/service/Details.h"

#include "daemon/machine/Values.h"
#include "platform/core/Text.h"
#include "platform/data/JsonObject.h"

namespace daemon_service {

namespace {

using platform::JsonArray;
using platform::JsonObject;

std::u16string Short(const std::u16string& text) {
    return Capped(text, kMostText);
}

std::u16string Short(const std::string& text) {
    return Capped(Clean(text), kMostText);
}

JsonObject FieldOf(const SourcedText& field) {
    JsonObject object;
    if (field.Value) {
        object.SetNamedValue(u"value", Short(*field.Value));
    } else {
        object.SetNamedValue(u"missing", NameOf(field.Why));
    }
    object.SetNamedValue(u"source", Short(field.Source));
    if (!field.Value && !field.Detail.empty()) {
        object.SetNamedValue(u"detail", Short(field.Detail));
    }
    return object;
}

template <typename Number>
void SetIfKnown(JsonObject& object, std::u16string_view name, const std::optional<Number>& number) {
    if (number) {
        object.SetNamedValue(name, *number);
    }
}

template <typename Character>
void SetIfKnown(JsonObject& object, std::u16string_view name, const std::basic_string<Character>& text) {
    if (!text.empty()) {
        object.SetNamedValue(name, Short(text));
    }
}

JsonArray ListOf(const std::vector<std::string>& texts) {
    JsonArray list;
    for (const std::string& text : texts) {
        list.emplace_back(Short(text));
    }
    return list;
}

/// What a list may still add to the document.
class Room {
  public:
    explicit Room(std::size_t characters) : m_characters(characters) {}

    /// Sets the first of `values` that there is room for, and how many are left out.
    void SetList(JsonObject& object, const std::u16string& name, JsonArray values) {
        std::size_t kept = 0;
        while (kept < values.size()) {
            const std::size_t size = values[kept].Stringify().size() + 1;
            if (size > m_characters) {
                break;
            }
            m_characters -= size;
            ++kept;
        }
        const std::size_t leftOut = values.size() - kept;
        values.resize(kept);
        object.SetNamedValue(name, std::move(values));
        if (leftOut != 0) {
            object.SetNamedValue(name + u"LeftOut", leftOut);
        }
    }

  private:
    std::size_t m_characters;
};

JsonArray ModulesOf(const MachineDetails& machine) {
    JsonArray modules;
    for (const MemoryModule& module : machine.MemoryModules) {
        JsonObject object;
        SetIfKnown(object, u"size", module.Bytes);
        SetIfKnown(object, u"kind", module.Kind);
        SetIfKnown(object, u"speed", module.MegatransfersPerSecond);
        SetIfKnown(object, u"slot", module.Slot);
        modules.emplace_back(std::move(object));
    }
    return modules;
}

JsonObject PartnerOf(const TypeCPartner& partner) {
    JsonObject object;
    SetIfKnown(object, u"productType", partner.ProductType);
    SetIfKnown(object, u"accessory", partner.Accessory);
    SetIfKnown(object, u"vendorId", partner.VendorId);
    SetIfKnown(object, u"productId", partner.ProductId);
    SetIfKnown(object, u"powerDelivery", partner.PowerDelivery);
    return object;
}

JsonArray PortsOf(const MachineDetails& machine) {
    JsonArray ports;
    for (const TypeCPort& port : machine.TypeCPorts) {
        JsonObject object;
        object.SetNamedValue(u"name", Short(port.Name));
        SetIfKnown(object, u"location", port.Location);
        object.SetNamedValue(u"usbStandards", ListOf(port.UsbStandards));
        SetIfKnown(object, u"dataRole", port.DataRole);
        SetIfKnown(object, u"powerRole", port.PowerRole);
        object.SetNamedValue(
            u"powerDelivery",
            !port.PowerDeliveryRevision.empty()
                ? Short(port.PowerDeliveryRevision)
                : std::u16string(NameOf(port.PowerDelivery ? Support::Yes : Support::Unknown)));
        object.SetNamedValue(u"displayPort", NameOf(port.DisplayPortSupport));
        object.SetNamedValue(u"thunderbolt", NameOf(port.ThunderboltSupport));
        object.SetNamedValue(u"usb4", NameOf(port.Usb4Support));
        SetIfKnown(object, u"sourcePowerMilliwatts", port.Milliwatts);
        SetIfKnown(object, u"sinkPowerMilliwatts", port.SinkMilliwatts);
        if (port.Partner) {
            object.SetNamedValue(u"partner", PartnerOf(*port.Partner));
        }
        object.SetNamedValue(u"source", Short(port.Source));
        ports.emplace_back(std::move(object));
    }
    return ports;
}

/// Its field with the parts that belong to it, but for those of memory modules.
JsonObject FieldWithParts(const MachineDetails& machine, const DetailsField& field) {
    JsonObject object = FieldOf(machine.*field.Text);
    if (field.Text == &MachineDetails::Processor) {
        SetIfKnown(object, u"cores", machine.ProcessorCores);
        SetIfKnown(object, u"threads", machine.ProcessorThreads);
    } else if (field.Text == &MachineDetails::Memory) {
        SetIfKnown(object, u"installedBytes", machine.InstalledBytes);
        SetIfKnown(object, u"usableBytes", machine.UsableBytes);
    } else if (field.Text == &MachineDetails::FirmwareVersion) {
        SetIfKnown(object, u"version", machine.FirmwareVersionAlone);
        SetIfKnown(object, u"date", machine.FirmwareDate);
        SetIfKnown(object, u"kind", machine.FirmwareKind);
    }
    return object;
}

JsonObject RequestOf(const FirmwareRequest& request, const FirmwareFlagState& flag) {
    const bool isEntry = request.By == FirmwareRequest::Method::BootEntry;
    JsonObject object;
    object.SetNamedValue(u"kind", isEntry ? u"bootEntry" : u"setup");
    if (isEntry) {
        object.SetNamedValue(u"name", Short(request.Entry));
    }
    object.SetNamedValue(u"supported", !flag.Failure);
    object.SetNamedValue(u"pending", flag.Pending);
    if (flag.Failure) {
        object.SetNamedValue(u"status", static_cast<std::uint32_t>(*flag.Failure));
    }
    return object;
}

/// `room` is for ports and memory modules.
JsonObject Document(const MachineDetails& machine, const FirmwareRequest& request,
                    const FirmwareFlagState& flag, Room room) {
    JsonObject kind;
    kind.SetNamedValue(u"kind", NameOf(machine.Kind));
    kind.SetNamedValue(u"maker", FieldOf(machine.Maker));
    JsonObject typeC;
    room.SetList(typeC, u"ports", PortsOf(machine));
    JsonObject fields;
    for (const DetailsField& field : kDetailsFields) {
        JsonObject object = FieldWithParts(machine, field);
        if (field.Text == &MachineDetails::Memory && !machine.MemoryModules.empty()) {
            room.SetList(object, u"modules", ModulesOf(machine));
        }
        fields.SetNamedValue(field.Key, std::move(object));
    }
    JsonObject password = FieldOf(BiosPasswordText(machine));
    if (!machine.BiosPasswordKinds.empty()) {
        room.SetList(password, u"kinds", ListOf(machine.BiosPasswordKinds));
    }
    fields.SetNamedValue(u"biosPassword", std::move(password));

    JsonObject document;
    document.SetNamedValue(u"version", 1);
    document.SetNamedValue(u"machine", std::move(kind));
    document.SetNamedValue(u"fields", std::move(fields));
    document.SetNamedValue(u"usbTypeC", std::move(typeC));
    document.SetNamedValue(u"firmwareRequest", RequestOf(request, flag));
    return document;
}

}  // namespace

std::u16string_view NameOf(Missing reason) {
    switch (reason) {
        case Missing::NotReported:
            return u"notReported";
        case Missing::Placeholder:
            return u"placeholder";
        case Missing::Absent:
            return u"absent";
        case Missing::Denied:
            return u"denied";
        case Missing::Damaged:
            return u"damaged";
        case Missing::Unknown:
            break;
    }
    return u"unknown";
}

std::u16string_view NameOf(MachineKind kind) {
    switch (kind) {
        case MachineKind::Laptop:
            return u"laptop";
        case MachineKind::Desktop:
            return u"desktop";
        case MachineKind::AllInOne:
            return u"allInOne";
        case MachineKind::Server:
            return u"server";
        case MachineKind::Tablet:
            return u"tablet";
        case MachineKind::Board:
            return u"board";
        case MachineKind::Virtual:
            return u"virtual";
        case MachineKind::Unknown:
            break;
    }
    return u"unknown";
}

std::u16string_view NameOf(Support support) {
    return support == Support::Yes ? u"yes" : support == Support::No ? u"no" : u"unknown";
}

SourcedText BiosPasswordText(const MachineDetails& machine) {
    const auto& [value, source, why, detail] = machine.BiosPassword;
    SourcedText text{.Value = {}, .Source = source, .Why = why, .Detail = detail};
    if (value) {
        text.Value = *value == BiosCredential::None       ? u"none"
                     : *value == BiosCredential::Password ? u"password"
                                                          : u"veldra";
    }
    return text;
}

std::u16string DetailsDocument(const MachineDetails& machine, const FirmwareRequest& request,
                               const FirmwareFlagState& flag) {
    // The counts of what is left out.
    constexpr std::size_t kReserve = 200;
    const std::size_t fixed = Document(machine, request, flag, Room(0)).Stringify().size() + kReserve;
    return Document(machine, request, flag, Room(fixed < kMostDocument ? kMostDocument - fixed : 0))
        .Stringify();
}

}  // namespace daemon_service
