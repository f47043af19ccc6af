#include "daemon/machine/Smbios.h"

#include <utility>

namespace daemon_service {

namespace {

constexpr std::size_t kHeaderBytes = 4;

std::uint8_t At(std::string_view bytes, std::size_t offset) {
    return static_cast<std::uint8_t>(bytes[offset]);
}

/// Takes the strings after a structure's formatted part off the front of `rest`, with their final zero. False
/// if the table ends before they do.
bool TakeStrings(std::string_view& rest, std::vector<std::string_view>& strings) {
    if (rest.starts_with(std::string_view("\0\0", 2))) {
        rest.remove_prefix(2);
        return true;
    }
    for (;;) {
        const auto end = rest.find('\0');
        if (end == std::string_view::npos) {
            return false;
        }
        if (end == 0) {
            rest.remove_prefix(1);
            return !strings.empty();
        }
        strings.push_back(rest.substr(0, end));
        rest.remove_prefix(end + 1);
    }
}

}  // namespace

std::optional<std::uint8_t> SmbiosStructure::Byte(std::size_t offset) const {
    if (offset >= Formatted.size()) {
        return std::nullopt;
    }
    return At(Formatted, offset);
}

std::optional<std::uint16_t> SmbiosStructure::Word(std::size_t offset) const {
    if (offset + 2 > Formatted.size()) {
        return std::nullopt;
    }
    return static_cast<std::uint16_t>(At(Formatted, offset) | At(Formatted, offset + 1) << 8);
}

std::optional<std::uint32_t> SmbiosStructure::Double(std::size_t offset) const {
    const auto low = Word(offset);
    const auto high = Word(offset + 2);
    if (!low || !high) {
        return std::nullopt;
    }
    return std::uint32_t{*low} | std::uint32_t{*high} << 16;
}

std::string_view SmbiosStructure::Text(std::size_t offset) const {
    const std::size_t number = Byte(offset).value_or(0);
    return number >= 1 && number <= Strings.size() ? Strings[number - 1] : std::string_view();
}

std::vector<SmbiosStructure> ParseSmbios(std::string_view table) {
    std::vector<SmbiosStructure> structures;
    while (table.size() >= kHeaderBytes) {
        SmbiosStructure structure{};
        structure.Type = At(table, 0);
        const std::size_t length = At(table, 1);
        structure.Handle = static_cast<std::uint16_t>(At(table, 2) | At(table, 3) << 8);
        if (structure.Type == smbios::kEndOfTable || length < kHeaderBytes || length > table.size()) {
            break;
        }
        structure.Formatted = table.substr(0, length);
        table.remove_prefix(length);
        if (!TakeStrings(table, structure.Strings)) {
            break;
        }
        structures.push_back(std::move(structure));
    }
    return structures;
}

std::string ReadSmbios(MachineFiles& files) {
    if (auto table = files.Read(std::string(smbios::kTablePath))) {
        return *std::move(table);
    }
    std::string table;
    const std::string entries = "/sys/firmware/dmi/entries";
    for (const std::string& name : files.List(entries)) {
        for (const char* type : {"0-", "4-", "8-", "16-", "17-", "24-"}) {
            if (name.starts_with(type)) {
                table += files.Read(PathOf({entries, name, "raw"})).value_or("");
            }
        }
    }
    return table;
}

}  // namespace daemon_service
