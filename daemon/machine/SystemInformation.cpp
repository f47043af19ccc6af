#include "daemon/machine/SystemInformation.h"

#include "daemon/machine/ReadMachine.h"
#include "daemon/machine/Values.h"
#include "platform/core/Text.h"

namespace daemon_service {

namespace {

/// Nine free texts, a number, the trailing field and ten separators stay below the record's limit.
constexpr std::size_t kFieldLimit = 104;
static_assert(9 * kFieldLimit + 2 + 4 + 10 * kFieldSeparator.size() <= kSystemInformationLimit);

}  // namespace

std::vector<Field> SystemInformationFields(const MachineDetails& machine) {
    std::vector<Field> fields;
    const auto add = [&fields](std::u16string_view label, const std::optional<std::u16string>& value) {
        fields.push_back({label, Capped(value.value_or(u"null"), kFieldLimit)});
    };
    add(u"Product name", machine.ProductName.Value);
    add(u"Product number", machine.ProductNumber.Value);
    add(u"Processor", machine.Processor.Value);
    add(u"Memory", machine.Memory.Value);
    add(u"Operating system", machine.OperatingSystem.Value);
    add(u"Firmware version", machine.FirmwareVersion.Value);
    add(u"System board", machine.SystemBoard.Value);
    add(u"Serial number", machine.SerialNumber.Value);
    add(u"Build identifier", machine.BuildIdentifier.Value);
    if (machine.BiosPassword.Value) {
        add(u"BIOS password", platform::ToText(static_cast<int>(*machine.BiosPassword.Value)));
    }
    add(u"Trailing field", std::nullopt);
    return fields;
}

std::vector<Field> ReadSystemInformation(MachineFiles& files) {
    return SystemInformationFields(ReadSystem(files));
}

std::u16string Joined(const std::vector<Field>& fields) {
    std::u16string record;
    std::u16string_view separator;
    for (const Field& field : fields) {
        record += separator;
        record += field.Text;
        separator = kFieldSeparator;
    }
    return record;
}

}  // namespace daemon_service
