#include "daemon/machine/SystemInformation.h"

#include "daemon/machine/BiosPassword.h"
#include "daemon/machine/Identity.h"
#include "daemon/machine/Memory.h"
#include "daemon/machine/Values.h"
#include "platform/core/Text.h"

namespace daemon_service {

namespace {

/// Nine free texts, a number, the trailing field and ten separators stay below the record's limit.
constexpr std::size_t kFieldLimit = 104;
static_assert(9 * kFieldLimit + 2 + 4 + 10 * kFieldSeparator.size() <= kSystemInformationLimit);

}  // namespace

std::vector<Field> ReadSystemInformation(MachineFiles& files) {
    const std::string bytes = ReadSmbios(files);
    const std::vector<SmbiosStructure> tables = ParseSmbios(bytes);

    std::vector<Field> fields;
    const auto add = [&fields](std::u16string_view label, const std::optional<std::u16string>& value) {
        fields.push_back({label, Capped(value.value_or(u"null"), kFieldLimit)});
    };
    const Product product = ReadProduct(files);
    add(u"Product name", product.Name);
    add(u"Product number", product.Number);
    add(u"Processor", ReadProcessor(files, tables));
    add(u"Memory", ReadMemory(files, tables));
    add(u"Operating system", ReadOperatingSystem(files));
    add(u"Firmware version", ReadFirmwareVersion(files));
    add(u"System board", ReadSystemBoard(files));
    add(u"Serial number", ReadSerialNumber(files));
    add(u"Build identifier", ReadBuildIdentifier(files));
    if (const auto credential = ReadBiosPassword(files, tables)) {
        add(u"BIOS password", platform::ToText(static_cast<int>(*credential)));
    }
    add(u"Trailing field", std::nullopt);
    return fields;
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
