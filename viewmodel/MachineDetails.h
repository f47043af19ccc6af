#pragma once

// The details document (docs/details.md) as values: why a field is blank, where a value comes from, each USB
// Type-C port, the firmware request. Functions of values; no text here is meant for the screen.

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/data/JsonObject.h"

namespace Kelvane {

enum class MissingReason { NotReported, Placeholder, Absent, Denied, Damaged, Unknown };

struct FieldDetails {
    /// Nothing where there is a value; a reason of a later version is Unknown.
    std::optional<MissingReason> Missing;
    std::u16string Value;
    /// In a form that a technician can look up: "smbios 1.7".
    std::u16string Source;
    /// The placeholder's text, or the system's error.
    std::u16string Detail;
};

enum class PortSupport { Unknown, No, Yes };

/// Texts are empty, and numbers absent, where the service does not know.
struct TypeCPortDetails {
    std::u16string Name;
    std::u16string Location;
    std::vector<std::u16string> UsbStandards;
    std::u16string DataRole;
    std::u16string PowerRole;
    std::u16string PowerDelivery;
    PortSupport DisplayPort = PortSupport::Unknown;
    PortSupport Thunderbolt = PortSupport::Unknown;
    PortSupport Usb4 = PortSupport::Unknown;
    std::optional<double> SourcePowerMilliwatts;
    std::optional<double> SinkPowerMilliwatts;
    /// The kind of what is plugged in; nothing where nothing is, empty where only that is known.
    std::optional<std::u16string> Partner;
    std::u16string Source;
};

struct FirmwareRequestDetails {
    /// The boot loader's entry that starts next; empty for the firmware's setup.
    std::u16string BootEntry;
    bool Supported = false;
    bool Pending = false;
    /// What the request would fail with where it is not supported, see RequestOutcome.
    std::int64_t Status = 0;
};

struct MachineDetails {
    std::u16string Kind;
    FieldDetails Maker;
    /// By the document's keys: "serialNumber".
    std::map<std::u16string, FieldDetails, std::less<>> Fields;
    std::vector<TypeCPortDetails> Ports;
    std::optional<FirmwareRequestDetails> FirmwareRequest;
    /// All of it, as the service sent it.
    platform::JsonObject Document;
};

/// Throws platform::Exception for a text that is no document of version 1.
MachineDetails ParseMachineDetails(std::u16string_view json);

}  // namespace Kelvane
