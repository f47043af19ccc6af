#include "daemon/machine/Memory.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include "daemon/machine/Values.h"
#include "platform/core/Text.h"

namespace daemon_service {

namespace {

constexpr std::uint64_t kKiB = 1024;
constexpr std::uint64_t kMiB = kKiB * 1024;
constexpr std::uint64_t kGiB = kMiB * 1024;
constexpr std::uint64_t kMost = kGiB << 24;  // 16 EiB would overflow sums; no machine is near it

/// Bytes of a memory device (type 17): 0 for an empty slot, nothing for a size that the firmware does not
/// know.
std::optional<std::uint64_t> DeviceSize(const SmbiosStructure& device) {
    const auto size = device.Word(0x0C);
    if (!size || *size == 0xFFFF) {
        return std::nullopt;
    }
    if (*size == 0x7FFF) {
        const auto extended = device.Double(0x1C);
        return extended ? std::optional((*extended & 0x7FFFFFFFU) * kMiB) : std::nullopt;
    }
    return (*size & 0x8000U) != 0 ? (*size & 0x7FFFU) * kKiB : *size * kMiB;
}

/// What the boot's device manager read from the same tables and keeps for everybody.
std::optional<std::uint64_t> DeviceManagerMemory(MachineFiles& files) {
    const auto database = files.Read("/run/udev/data/+dmi:id");
    if (!database) {
        return std::nullopt;
    }
    std::map<std::string_view, std::string_view> values;
    for (std::string_view rest = *database; !rest.empty();) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
        const auto cut = line.find('=');
        if (line.starts_with("E:MEMORY_") && cut != std::string_view::npos) {
            values.try_emplace(line.substr(0, cut), Trimmed(line.substr(cut + 1)));
        }
    }
    const auto count = Number(values["E:MEMORY_ARRAY_NUM_DEVICES"]);
    std::uint64_t sum = 0;
    for (std::uint64_t i = 0; count && i < *count && i < 1024; ++i) {
        const std::string prefix = "E:MEMORY_DEVICE_" + std::to_string(i);
        const auto value = [&](const char* name) {
            const auto found = values.find(prefix + name);
            return found == values.end() ? std::string_view() : found->second;
        };
        const auto size = Number(value("_SIZE"));
        const bool storage = value("_TYPE") == "Logical non-volatile device";
        if (size && !storage && *size < kMost && sum < kMost) {
            sum += *size;
        }
    }
    return sum > 0 ? std::optional(sum) : std::nullopt;
}

/// Memory that is online, by blocks; does not see what the firmware keeps for itself.
std::optional<std::uint64_t> OnlineMemory(MachineFiles& files) {
    const std::string folder = "/sys/devices/system/memory";
    const auto text = files.Read(folder + "/block_size_bytes");
    const auto blockBytes = text ? Number(*text, 16) : std::nullopt;
    if (!blockBytes || *blockBytes == 0 || *blockBytes > kMost) {
        return std::nullopt;
    }
    std::uint64_t sum = 0;
    for (const std::string& name : files.List(folder)) {
        if (name.starts_with("memory") &&
            Trimmed(files.Read(PathOf({folder, name, "online"})).value_or("")) == "1" && sum < kMost) {
            sum += *blockBytes;
        }
    }
    return sum > 0 ? std::optional(sum) : std::nullopt;
}

std::optional<std::uint64_t> UsableMemory(MachineFiles& files) {
    const auto meminfo = files.Read("/proc/meminfo");
    auto total = meminfo ? LineValue(*meminfo, "MemTotal", ':') : std::nullopt;
    if (!total || !total->ends_with(" kB")) {
        return std::nullopt;
    }
    total->resize(total->size() - 3);
    const auto kib = Number(*total);
    return kib && *kib > 0 && *kib < kMost / kKiB ? std::optional(*kib * kKiB) : std::nullopt;
}

/// One decimal, left out when it is zero.
std::u16string Amount(std::uint64_t bytes) {
    const auto [unit, name] = bytes < kGiB ? std::pair(kMiB, u" MB") : std::pair(kGiB, u" GB");
    const std::uint64_t tenths = (bytes * 10 + unit / 2) / unit;
    std::u16string text = platform::ToText(tenths / 10);
    if (tenths % 10 != 0) {
        text += u"." + platform::ToText(tenths % 10);
    }
    return text + name;
}

}  // namespace

std::optional<std::uint64_t> InstalledMemory(std::span<const SmbiosStructure> tables) {
    constexpr std::uint8_t kUseSystemMemory = 3;
    constexpr std::uint8_t kLogicalNonVolatile = 0x1F;
    std::set<std::uint16_t> arrays;
    for (const SmbiosStructure& structure : tables) {
        if (structure.Type == smbios::kMemoryArray && structure.Byte(0x05) == kUseSystemMemory) {
            arrays.insert(structure.Handle);
        }
    }
    std::uint64_t sum = 0;
    for (const SmbiosStructure& structure : tables) {
        if (structure.Type != smbios::kMemoryDevice ||
            !arrays.contains(structure.Word(0x04).value_or(0xFFFE)) ||
            structure.Byte(0x12) == kLogicalNonVolatile) {
            continue;
        }
        const auto size = DeviceSize(structure);
        if (!size || sum > kMost) {
            return std::nullopt;
        }
        sum += *size;
    }
    return sum > 0 ? std::optional(sum) : std::nullopt;
}

std::optional<std::u16string> ReadMemory(MachineFiles& files, std::span<const SmbiosStructure> tables) {
    const auto usable = UsableMemory(files);
    if (!usable) {
        files.Note("memory: /proc/meminfo has no readable MemTotal; the usable size is not shown");
    }
    // A source that tells less than what is in use does not know everything; the next one may.
    const auto tells = [&usable](const auto& bytes) { return bytes && *bytes >= usable.value_or(0); };
    auto installed = InstalledMemory(tables);
    if (!tells(installed)) {
        installed = DeviceManagerMemory(files);
    }
    if (!tells(installed)) {
        installed = OnlineMemory(files);
    }
    if (!tells(installed)) {
        files.Note("memory: no source tells the installed size");
        return usable ? std::optional(Amount(*usable) + u" usable") : std::nullopt;
    }
    return usable ? Amount(*installed) + u" (" + Amount(*usable) + u" usable)" : Amount(*installed);
}

}  // namespace daemon_service
