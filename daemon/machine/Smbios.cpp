#include "daemon/machine/Smbios.h"

#include <utility>

namespace daemon_service {

namespace {

constexpr std::size_t kHeaderBytes = 4;

std::uint8_t At(std::string_view bytes, std::size_t offset) {
    return static_cast<std::uint8_t>(bytes[offset]);
}

/// The strings in `set`, which two zeros end. False if something else than strings stands before those.
bool TakeStrings(std::string_view set, std::vector<std::string_view>& strings) {
    if (set == std::string_view("\0\0", 2)) {
        return true;
    }
    while (set[0] != '\0') {
        strings.push_back(set.substr(0, set.find('\0')));
        set.remove_prefix(strings.back().size() + 1);
    }
    return set.size() == 1;
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

std::vector<SmbiosStructure> ParseSmbios(std::string_view table, SmbiosFaults* faults) {
    std::vector<SmbiosStructure> structures;
    std::size_t at = 0;
    const auto fault = [&at, faults](const SmbiosStructure& structure, const char* what, bool cutsOff) {
        if (faults != nullptr) {
            faults->Sentences.push_back("structure of type " + std::to_string(structure.Type) + " at byte " +
                                        std::to_string(at) + " " + what);
            faults->CutOff = cutsOff;
        }
    };
    while (at + kHeaderBytes <= table.size()) {
        SmbiosStructure structure{};
        structure.Type = At(table, at);
        const std::size_t length = At(table, at + 1);
        structure.Handle = static_cast<std::uint16_t>(At(table, at + 2) | At(table, at + 3) << 8);
        if (structure.Type == smbios::kEndOfTable) {
            break;
        }
        if (length < kHeaderBytes) {
            fault(structure, "is shorter than its header; the table is not read further", true);
            break;
        }
        const auto zeros = table.find(std::string_view("\0\0", 2), at + length);
        if (zeros == std::string_view::npos) {
            fault(structure, "does not end within the table", true);
            break;
        }
        structure.Formatted = table.substr(at, length);
        if (!TakeStrings(table.substr(at + length, zeros + 2 - at - length), structure.Strings)) {
            fault(structure, "has a broken set of strings; reading goes on after the next two zeros", false);
        }
        structures.push_back(std::move(structure));
        at = zeros + 2;
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
