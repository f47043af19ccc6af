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
    for (const std::string_view line : platform::Lines(*database)) {
        if (const auto pair = platform::CutLine(line, '=')) {
            values.try_emplace(pair->Key, pair->Value);
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
    const auto total = meminfo ? platform::LineValue(*meminfo, "MemTotal", ':') : std::nullopt;
    if (!total || !total->ends_with(" kB")) {
        return std::nullopt;
    }
    const auto kib = Number(total->substr(0, total->size() - 3));
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

constexpr std::uint8_t kLogicalNonVolatile = 0x1F;

/// The memory devices (type 17) of the machine's memory, not of flash or a video card.
std::vector<const SmbiosStructure*> Devices(std::span<const SmbiosStructure> tables) {
    constexpr std::uint8_t kUseSystemMemory = 3;
    std::set<std::uint16_t> arrays;
    for (const SmbiosStructure& structure : tables) {
        if (structure.Type == smbios::kMemoryArray && structure.Byte(0x05) == kUseSystemMemory) {
            arrays.insert(structure.Handle);
        }
    }
    std::vector<const SmbiosStructure*> devices;
    for (const SmbiosStructure& structure : tables) {
        if (structure.Type == smbios::kMemoryDevice &&
            arrays.contains(structure.Word(0x04).value_or(0xFFFE)) &&
            structure.Byte(0x12) != kLogicalNonVolatile) {
            devices.push_back(&structure);
        }
    }
    return devices;
}

struct MemoryKind {
    std::uint8_t Type;
    const char* Name;
};

/// DSP0134, "Memory Device - Type".
constexpr MemoryKind kKinds[] = {{0x0F, "SDRAM"},  {0x12, "DDR"},    {0x13, "DDR2"},  {0x14, "DDR2"},
                                 {0x18, "DDR3"},   {0x1A, "DDR4"},   {0x1B, "LPDDR"}, {0x1C, "LPDDR2"},
                                 {0x1D, "LPDDR3"}, {0x1E, "LPDDR4"}, {0x20, "HBM"},   {0x21, "HBM2"},
                                 {0x22, "DDR5"},   {0x23, "LPDDR5"}, {0x24, "HBM3"}};

/// The speed that is set, else the highest; a word of FFFFh refers to a longer field.
std::optional<std::uint32_t> Speed(const SmbiosStructure& device) {
    for (const auto& [word, extended] : {std::pair(0x20, 0x58), std::pair(0x15, 0x54)}) {
        std::optional<std::uint32_t> speed = device.Word(word);
        if (speed == 0xFFFF) {
            speed = device.Double(extended);
        }
        if (speed.value_or(0) != 0) {
            return speed;
        }
    }
    return std::nullopt;
}

MemoryModule ModuleOf(const SmbiosStructure& device) {
    const auto* kind = std::ranges::find(kKinds, device.Byte(0x12).value_or(0), &MemoryKind::Type);
    const auto slot = Value(device.Text(0x10));
    MemoryModule module;
    module.Bytes = DeviceSize(device);
    module.Slot = slot ? platform::ToValidUtf8(*slot) : "";
    if (module.Bytes != 0U) {
        module.Kind = kind == std::end(kKinds) ? "" : kind->Name;
        module.MegatransfersPerSecond = Speed(device);
    }
    return module;
}

}  // namespace

std::optional<std::uint64_t> InstalledMemory(std::span<const SmbiosStructure> tables) {
    std::uint64_t sum = 0;
    for (const SmbiosStructure* device : Devices(tables)) {
        const auto size = DeviceSize(*device);
        if (!size || sum > kMost) {
            return std::nullopt;
        }
        sum += *size;
    }
    return sum > 0 ? std::optional(sum) : std::nullopt;
}

void ReadMemory(Sources& sources, MachineDetails& machine) {
    MachineFiles& files = sources.Files();
    for (const SmbiosStructure* device : Devices(sources.Tables())) {
        machine.MemoryModules.push_back(ModuleOf(*device));
    }
    machine.UsableBytes = UsableMemory(files);
    SourcedText& memory = machine.Memory;
    memory.Source = "proc meminfo";
    if (!machine.UsableBytes) {
        memory.Why = files.Read("/proc/meminfo") ? Missing::Damaged : files.Why();
        files.Note("memory: /proc/meminfo has no readable MemTotal; the usable size is not shown");
    }
    // A source with less than what is in use does not know everything; the next one may.
    const auto offer = [&machine](const char* source, std::optional<std::uint64_t> bytes) {
        if (!machine.InstalledBytes && bytes && *bytes >= machine.UsableBytes.value_or(0)) {
            machine.InstalledBytes = bytes;
            machine.Memory.Source = source;
        }
    };
    offer("smbios 17", sources.TablesCutOff() ? std::nullopt : InstalledMemory(sources.Tables()));
    offer("udev +dmi:id", machine.InstalledBytes ? std::nullopt : DeviceManagerMemory(files));
    offer("sysfs devices/system/memory", machine.InstalledBytes ? std::nullopt : OnlineMemory(files));
    if (!machine.InstalledBytes) {
        files.Note("memory: no source has the installed size");
    }
    if (machine.InstalledBytes && machine.UsableBytes) {
        memory.Value = Amount(*machine.InstalledBytes) + u" (" + Amount(*machine.UsableBytes) + u" usable)";
    } else if (machine.InstalledBytes) {
        memory.Value = Amount(*machine.InstalledBytes);
    } else if (machine.UsableBytes) {
        memory.Value = Amount(*machine.UsableBytes) + u" usable";
    }
}

}  // namespace daemon_service
