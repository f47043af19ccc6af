#pragma once

// The details document: what is known of a machine, as docs/details.md and package/details.schema.json
// describe it. Functions of values.

#include <cstddef>
#include <iterator>
#include <string>
#include <string_view>

#include "daemon/actions/Configuration.h"
#include "daemon/actions/FirmwareFlag.h"
#include "daemon/machine/MachineDetails.h"

namespace daemon_service {

/// A field of the document, in its order.
struct DetailsField {
    std::u16string_view Key;
    std::string_view Label;  ///< for --print
    SourcedText MachineDetails::*Text;
};
inline constexpr DetailsField kDetailsFields[] = {
    {u"productName", "Product name", &MachineDetails::ProductName},
    {u"productNumber", "Product number", &MachineDetails::ProductNumber},
    {u"serialNumber", "Serial number", &MachineDetails::SerialNumber},
    {u"processor", "Processor", &MachineDetails::Processor},
    {u"memory", "Memory", &MachineDetails::Memory},
    {u"operatingSystem", "Operating system", &MachineDetails::OperatingSystem},
    {u"firmwareVersion", "Firmware version", &MachineDetails::FirmwareVersion},
    {u"systemBoard", "System board", &MachineDetails::SystemBoard},
    {u"buildIdentifier", "Build identifier", &MachineDetails::BuildIdentifier},
};

/// The word for each value; the document's and, for people, that of --print.
std::u16string_view NameOf(Missing reason);
std::u16string_view NameOf(MachineKind kind);
std::u16string_view NameOf(Support support);

/// "none", "password" or "veldra" as a text.
SourcedText BiosPasswordText(const MachineDetails& machine);

/// The document's longest text, and the longest document, in characters. Half of what the interface allows:
/// the service's memory limit counts an answer of 32 KiB per connection.
inline constexpr std::size_t kMostText = 200;
inline constexpr std::size_t kMostDocument = 16'000;

/// JSON of less than kMostDocument characters. Texts end in "…" after kMostText characters; of ports, and
/// then of memory modules, as many are in it as there is room for, and a number says how many are left out.
std::u16string DetailsDocument(const MachineDetails& machine, const FirmwareRequest& request,
                               const FirmwareFlagState& flag);

}  // namespace daemon_service
