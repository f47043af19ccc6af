#include "daemon/machine/Identity.h"

#include <algorithm>
#include <set>
#include <utility>

#include "daemon/machine/Values.h"
#include "platform/core/Text.h"

namespace daemon_service {

namespace {

using Text = std::u16string;
using Taken = std::optional<Text>;

bool HasLower(std::u16string_view text) {
    return std::ranges::any_of(text, [](char16_t c) { return (c >= u'a' && c <= u'z') || c >= 0x80; });
}

bool HasDigit(std::u16string_view text) {
    return std::ranges::any_of(text, [](char16_t c) { return c >= u'0' && c <= u'9'; });
}

/// "20HRCTO1WW" rather than "Latitude 7420": one word of capitals and digits.
bool LooksLikeCode(std::u16string_view name) {
    return HasDigit(name) && !HasLower(name) && name.find(u' ') == std::u16string_view::npos;
}

/// A name for people rather than a revision ("1.0", "Rev 1.xx", "A3").
bool LooksLikeName(std::u16string_view text) {
    const bool letter =
        (text[0] >= u'A' && text[0] <= u'Z') || (text[0] >= u'a' && text[0] <= u'z') || text[0] >= 0x80;
    return letter && HasLower(text) && text.size() >= 5 && !text.starts_with(u"Rev") &&
           !text.starts_with(u"Ver");
}

Taken IfName(const Text& text) {
    return LooksLikeName(text) ? Taken(text) : std::nullopt;
}

/// "Slate X1", but not "Notebook", "Desktop" or a brand alone: what a number makes one model of a family.
Taken IfModel(const Text& text) {
    return LooksLikeName(text) && HasDigit(text) ? Taken(text) : std::nullopt;
}

/// "ARMv7 Processor rev 4 (v7l)" names the instruction set.
Taken UnlessArchitecture(const Text& text) {
    return text.starts_with(u"ARMv") ? std::nullopt : Taken(text);
}

Taken VirtualMachineOf(const Text& hypervisor) {
    return u"Virtual machine (" + hypervisor + u")";
}

/// The processor's own flag, where neither firmware nor device tree names the machine.
Taken VirtualMachineByFlag(const Text& flags) {
    return (u" " + flags + u" ").find(u" hypervisor ") != Text::npos ? Taken(u"Virtual machine")
                                                                     : std::nullopt;
}

constexpr SourceRow kHypervisorFlag{"proc cpuinfo flags", VirtualMachineByFlag};

constexpr SourceRow kHypervisor[] = {kHypervisorFlag, {"sysfs hypervisor/type"}};

constexpr SourceRow kMaker[] = {{"sysfs class/dmi/id/sys_vendor"}, {"sysfs class/dmi/id/board_vendor"}};

/// What names the product where `product_name` is an order code.
constexpr SourceRow kReadableName[] = {{"sysfs class/dmi/id/product_version", IfName},
                                       {"sysfs class/dmi/id/product_family", IfModel}};

constexpr SourceRow kProductName[] = {{"sysfs class/dmi/id/product_name"},
                                      {"sysfs class/dmi/id/product_version", IfName},
                                      {"sysfs class/dmi/id/product_family"},
                                      {"sysfs class/dmi/id/board_name"},
                                      {"devicetree model"},
                                      {"sysfs hypervisor/type", VirtualMachineOf},
                                      kHypervisorFlag};

constexpr SourceRow kSerialNumber[] = {{"sysfs class/dmi/id/product_serial"},
                                       {"sysfs class/dmi/id/board_serial"},
                                       {"sysfs class/dmi/id/chassis_serial"},
                                       {"devicetree serial-number"}};

/// Between the last two: chip and cores of the device tree.
constexpr SourceRow kProcessor[] = {
    {"proc cpuinfo model name", UnlessArchitecture}, {"proc cpuinfo Model Name"}, {"smbios 4.10"}};
constexpr std::string_view kArchitecture = "proc cpuinfo model name";

constexpr std::string_view kKernelRelease = "proc sys/kernel/osrelease";

constexpr SourceRow kSystemName[] = {{"os-release PRETTY_NAME"}, {"os-release NAME"}};

constexpr SourceRow kBuildIdentifier[] = {
    {"os-release BUILD_ID"}, {"os-release IMAGE_VERSION"}, {kKernelRelease}};

constexpr std::string_view kUBoot = "devicetree chosen/u-boot,version";
constexpr SourceRow kFirmwareVersion[] = {{"sysfs class/dmi/id/bios_version"}, {kUBoot}};

void Join(SourcedText& text, std::u16string_view separator, SourcedText more) {
    if (text.Value && more.Value) {
        *text.Value += separator;
        *text.Value += *more.Value;
    } else if (more.Value) {
        text = std::move(more);
    }
}

/// "10/05/2023" to "2023-10-05"; anything else stays as it is.
Text IsoDate(const Text& date) {
    constexpr std::u16string_view kPattern = u"dd/dd/dddd";
    const bool matches = std::ranges::equal(date, kPattern, [](char16_t c, char16_t wanted) {
        return wanted == u'd' ? c >= u'0' && c <= u'9' : c == wanted;
    });
    return matches ? date.substr(6) + u'-' + date.substr(0, 2) + u'-' + date.substr(3, 2) : date;
}

const std::string kDeviceTree = "/sys/firmware/devicetree/base/";

/// The strings of a device tree's property, most specific first (Devicetree Specification, "compatible").
std::vector<std::string> Strings(MachineFiles& files, const std::string& property) {
    const std::string content = files.Read(kDeviceTree + property).value_or("");
    std::vector<std::string> strings;
    for (std::size_t at = 0; at < content.size(); at += strings.back().size() + 1) {
        strings.emplace_back(content.c_str() + at);
    }
    std::erase(strings, "");
    return strings;
}

std::string_view ModelOf(std::string_view compatible) {
    return compatible.substr(compatible.find(',') + 1);
}

/// An instruction set, or what stands in every tree of a kind.
bool IsGeneric(std::string_view compatible) {
    const std::string_view model = ModelOf(compatible);
    return model.empty() || model == "riscv" || model == "riscv-virtio" || model == "dummy-virt" ||
           model.starts_with("armv") || model.starts_with("arm-v") || model.ends_with("-platform");
}

Text InCapitals(std::string_view model) {
    Text text = Clean(model);
    for (char16_t& c : text) {
        c = c >= u'a' && c <= u'z' ? static_cast<char16_t>(c - 32) : c;
    }
    return text;
}

/// The first string names the board. The last specific one is the chip, or its family, of which an earlier
/// one then names the member: "maker,chip5800", "maker,chip5".
Text DeviceTreeChip(MachineFiles& files) {
    std::vector<std::string> strings = Strings(files, "compatible");
    if (!strings.empty()) {
        strings.erase(strings.begin());
    }
    std::erase_if(strings, IsGeneric);
    if (strings.empty()) {
        return {};
    }
    const std::string& last = strings.back();
    const auto chip = std::ranges::find_if(strings, [&last](const std::string& each) {
        return each.starts_with(last) &&
               (each.size() == last.size() || (each[last.size()] >= '0' && each[last.size()] <= 'z'));
    });
    return InCapitals(ModelOf(*chip));
}

struct CoreKind {
    Text Model;
    std::uint32_t Count = 0;
};

/// In order of appearance.
std::vector<CoreKind> DeviceTreeCores(MachineFiles& files) {
    std::vector<CoreKind> kinds;
    for (const std::string& name : files.List(kDeviceTree + "cpus")) {
        if (!name.starts_with("cpu@")) {
            continue;
        }
        const auto strings = Strings(files, PathOf({"cpus", name, "compatible"}));
        auto specific = std::ranges::find_if_not(strings, IsGeneric);
        specific = specific == strings.end() ? strings.begin() : specific;
        const Text model = specific == strings.end() ? Text() : InCapitals(ModelOf(*specific));
        if (IsPlaceholder(model)) {
            continue;
        }
        auto kind = std::ranges::find(kinds, model, &CoreKind::Model);
        if (kind == kinds.end()) {
            kind = kinds.insert(kind, {.Model = model});
        }
        ++kind->Count;
    }
    return kinds;
}

/// "BCM2712 (4 x CORTEX-A76)", "4 x CORTEX-A55, 4 x CORTEX-A76".
SourcedText DeviceTreeProcessor(MachineFiles& files, std::span<const CoreKind> kinds) {
    const Text chip = DeviceTreeChip(files);
    Text cores;
    for (const CoreKind& kind : kinds) {
        cores += (cores.empty() ? u"" : u", ") + platform::ToText(kind.Count) + u" x " + kind.Model;
    }
    SourcedText text{.Source = "devicetree compatible"};
    if (!IsPlaceholder(chip)) {
        text.Value = cores.empty() ? chip : chip + u" (" + cores + u")";
    } else if (!cores.empty()) {
        text = {.Value = cores, .Source = "devicetree cpus"};
    }
    return text;
}

/// Logical processors by their "processor" lines, and cores by the two numbers that x86 gives each.
void CountProcessors(MachineFiles& files, MachineDetails& machine) {
    std::uint32_t threads = 0;
    std::set<std::pair<std::string_view, std::string_view>> cores;
    std::string_view package;
    const std::string cpuinfo = files.Read("/proc/cpuinfo").value_or("");
    for (const std::string_view line : platform::Lines(cpuinfo)) {
        const auto pair = platform::CutLine(line, ':');
        if (pair && pair->Key == "processor" && Number(pair->Value)) {
            ++threads;
        } else if (pair && pair->Key == "physical id") {
            package = pair->Value;
        } else if (pair && pair->Key == "core id") {
            cores.emplace(package, pair->Value);
        }
    }
    if (threads > 0) {
        machine.ProcessorThreads = threads;
    }
    if (!cores.empty()) {
        machine.ProcessorCores = static_cast<std::uint32_t>(cores.size());
    }
}

void ReadProcessor(Sources& sources, MachineDetails& machine) {
    const auto kinds = DeviceTreeCores(sources.Files());
    CountProcessors(sources.Files(), machine);
    std::uint32_t cores = 0;
    for (const CoreKind& kind : kinds) {
        cores += kind.Count;
    }
    if (!machine.ProcessorCores && cores > 0) {
        machine.ProcessorCores = cores;
    }
    machine.Processor = sources.First(kProcessor);
    if (!machine.Processor.Value) {
        auto text = DeviceTreeProcessor(sources.Files(), kinds);
        text = text.Value ? text : sources.Text(kArchitecture);
        machine.Processor = text.Value ? text : machine.Processor;
    }
}

/// Some makers put an order code into the name and the readable name into the version; then the two change
/// places.
void ReadProduct(Sources& sources, MachineDetails& machine) {
    const SourcedText code = sources.Text("sysfs class/dmi/id/product_name");
    const SourcedText version = sources.Text("sysfs class/dmi/id/product_version");
    const SourcedText readable =
        code.Value && LooksLikeCode(*code.Value) ? sources.First(kReadableName) : SourcedText();
    machine.ProductName = readable.Value ? readable : sources.First(kProductName);
    machine.ProductNumber = sources.Text("sysfs class/dmi/id/product_sku");
    if (!machine.ProductNumber.Value && readable.Value) {
        machine.ProductNumber = code;
    }
    if (!machine.ProductNumber.Value && version.Value && version.Value != machine.ProductName.Value) {
        machine.ProductNumber = version;
    }
}

void ReadOperatingSystem(Sources& sources, MachineDetails& machine) {
    machine.OperatingSystem = sources.First(kSystemName);
    if (machine.OperatingSystem.Source == kSystemName[1].Source) {
        if (const auto version = sources.Text("os-release VERSION_ID").Value) {
            *machine.OperatingSystem.Value += u" " + *version;
        }
    }
    SourcedText kernel = sources.Text(kKernelRelease);
    if (kernel.Value) {
        *kernel.Value = u"Linux " + *kernel.Value;
    }
    Join(machine.OperatingSystem, u", ", std::move(kernel));
}

void ReadFirmware(Sources& sources, MachineDetails& machine) {
    machine.FirmwareVersion = sources.First(kFirmwareVersion);
    machine.FirmwareVersionAlone = machine.FirmwareVersion.Value.value_or(u"");
    SourcedText date = sources.Text("sysfs class/dmi/id/bios_date");
    if (date.Value) {
        *date.Value = IsoDate(*date.Value);
        machine.FirmwareDate = *date.Value;
    }
    Join(machine.FirmwareVersion, u", ", std::move(date));
    if (sources.Files().Read("/sys/firmware/efi/fw_platform_size")) {
        machine.FirmwareKind = "UEFI";
        if (machine.FirmwareVersion.Value) {
            *machine.FirmwareVersion.Value += u", UEFI";
        }
    } else if (machine.FirmwareVersion.Value) {
        machine.FirmwareKind = machine.FirmwareVersion.Source == kUBoot ? "U-Boot" : "BIOS";
    }
}

void ReadSystemBoard(Sources& sources, MachineDetails& machine) {
    machine.SystemBoard = sources.Text("sysfs class/dmi/id/board_name");
    if (machine.SystemBoard.Value) {
        if (const auto vendor = sources.Text("sysfs class/dmi/id/board_vendor").Value) {
            machine.SystemBoard.Value = *vendor + u" " + *machine.SystemBoard.Value;
        }
        Join(machine.SystemBoard, u" ", sources.Text("sysfs class/dmi/id/board_version"));
    }
}

struct KindRow {
    std::string_view Name;
    MachineKind Kind;
};

/// Enclosure types of DMTF DSP0134, "System Enclosure or Chassis Types", and values of the device tree's
/// "chassis-type". Values that name no kind ("Other", "Docking Station", ...) is not here.
constexpr KindRow kChassis[] = {{"3", MachineKind::Desktop},
                                {"4", MachineKind::Desktop},
                                {"5", MachineKind::Desktop},
                                {"6", MachineKind::Desktop},
                                {"7", MachineKind::Desktop},
                                {"8", MachineKind::Laptop},
                                {"9", MachineKind::Laptop},
                                {"10", MachineKind::Laptop},
                                {"11", MachineKind::Tablet},
                                {"13", MachineKind::AllInOne},
                                {"14", MachineKind::Laptop},
                                {"15", MachineKind::Desktop},
                                {"16", MachineKind::Desktop},
                                {"17", MachineKind::Server},
                                {"23", MachineKind::Server},
                                {"24", MachineKind::Desktop},
                                {"25", MachineKind::Server},
                                {"28", MachineKind::Server},
                                {"29", MachineKind::Server},
                                {"30", MachineKind::Tablet},
                                {"31", MachineKind::Laptop},
                                {"32", MachineKind::Laptop},
                                {"33", MachineKind::Board},
                                {"34", MachineKind::Board},
                                {"35", MachineKind::Desktop},
                                {"36", MachineKind::Desktop},
                                {"desktop", MachineKind::Desktop},
                                {"laptop", MachineKind::Laptop},
                                {"convertible", MachineKind::Laptop},
                                {"server", MachineKind::Server},
                                {"all-in-one", MachineKind::AllInOne},
                                {"tablet", MachineKind::Tablet},
                                {"handset", MachineKind::Tablet},
                                {"embedded", MachineKind::Board}};

/// Makers that there are only of virtual machines.
constexpr std::u16string_view kVirtualMakers[] = {u"QEMU", u"VMware, Inc.", u"Xen", u"innotek GmbH",
                                                  u"Bochs"};

bool IsVirtual(Sources& sources, const MachineDetails& machine) {
    const auto firmwareSays = [](const SmbiosStructure& structure) {
        constexpr unsigned kVirtualMachine = 0x10;  // in extension byte 2 of the characteristics
        return structure.Type == smbios::kFirmware &&
               (structure.Byte(0x13).value_or(0) & kVirtualMachine) != 0;
    };
    const auto board = Strings(sources.Files(), "compatible");
    return sources.First(kHypervisor).Value || std::ranges::any_of(sources.Tables(), firmwareSays) ||
           std::ranges::count(kVirtualMakers, machine.Maker.Value.value_or(u"")) > 0 ||
           (!board.empty() && (board[0] == "linux,dummy-virt" || board[0] == "riscv-virtio"));
}

void ReadKind(Sources& sources, MachineDetails& machine) {
    if (IsVirtual(sources, machine)) {
        machine.Kind = MachineKind::Virtual;
        return;
    }
    for (const std::string_view source : {"sysfs class/dmi/id/chassis_type", "devicetree chassis-type"}) {
        const std::string text = platform::ToValidUtf8(sources.Text(source).Value.value_or(u""));
        const auto* row = std::ranges::find(kChassis, text, &KindRow::Name);
        if (row != std::end(kChassis)) {
            machine.Kind = row->Kind;
            return;
        }
    }
    if (sources.Text("devicetree model").Value) {
        machine.Kind = MachineKind::Board;
    }
}

void ReadMaker(Sources& sources, MachineDetails& machine) {
    machine.Maker = sources.First(kMaker);
    if (!machine.Maker.Value) {
        SourcedText board = sources.Text("devicetree compatible");
        const auto comma = board.Value.value_or(u"").find(u',');
        if (comma != Text::npos) {
            board.Value->resize(comma);
            machine.Maker = std::move(board);
        }
    }
}

}  // namespace

void ReadIdentity(Sources& sources, MachineDetails& machine) {
    ReadMaker(sources, machine);
    ReadKind(sources, machine);
    ReadProduct(sources, machine);
    ReadProcessor(sources, machine);
    ReadOperatingSystem(sources, machine);
    ReadFirmware(sources, machine);
    ReadSystemBoard(sources, machine);
    machine.SerialNumber = sources.First(kSerialNumber);
    machine.BuildIdentifier = sources.First(kBuildIdentifier);
}

}  // namespace daemon_service
