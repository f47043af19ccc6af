#include "daemon/machine/Identity.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "daemon/machine/Values.h"
#include "platform/core/Text.h"

namespace daemon_service {

namespace {

constexpr auto kDeviceTree = "/sys/firmware/devicetree/base/";

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

void Join(std::optional<std::u16string>& text, std::u16string_view separator, std::u16string_view more) {
    if (text) {
        *text += separator;
        *text += more;
    } else {
        text = more;
    }
}

/// A value of os-release, without the shell's quotes and escapes (os-release(5)).
std::optional<std::u16string> ReleaseValue(std::string_view release, std::string_view key) {
    const auto raw = LineValue(release, key, '=');
    if (!raw) {
        return std::nullopt;
    }
    std::string text;
    char quote = 0;
    for (std::size_t i = 0; i < raw->size(); ++i) {
        const char c = (*raw)[i];
        if (c == '\\' && quote != '\'' && i + 1 < raw->size()) {
            text += (*raw)[++i];
        } else if ((c == '"' || c == '\'') && (quote == 0 || quote == c)) {
            quote = quote == 0 ? c : '\0';
        } else {
            text += c;
        }
    }
    return Value(text);
}

std::string ReadOsRelease(MachineFiles& files) {
    for (const char* path : {"/etc/os-release", "/usr/lib/os-release"}) {
        if (auto content = files.Read(path)) {
            return *std::move(content);
        }
    }
    files.Note("operating system: neither /etc/os-release nor /usr/lib/os-release can be read");
    return {};
}

std::optional<std::u16string> KernelRelease(MachineFiles& files) {
    return FileValue(files, "/proc/sys/kernel/osrelease");
}

/// "10/05/2023" to "2023-10-05"; anything else stays as it is.
std::u16string IsoDate(const std::u16string& date) {
    constexpr std::u16string_view kPattern = u"dd/dd/dddd";
    const bool matches = std::ranges::equal(date, kPattern, [](char16_t c, char16_t wanted) {
        return wanted == u'd' ? c >= u'0' && c <= u'9' : c == wanted;
    });
    return matches ? date.substr(6) + u'-' + date.substr(0, 2) + u'-' + date.substr(3, 2) : date;
}

/// The last of the zero-terminated strings in a device-tree property.
std::string_view LastString(std::string_view property) {
    while (property.ends_with('\0')) {
        property.remove_suffix(1);
    }
    const auto zero = property.rfind('\0');
    return zero == std::string_view::npos ? property : property.substr(zero + 1);
}

/// The model part of a "maker,model" string in capitals.
std::u16string Model(std::string_view compatible) {
    std::u16string model = Clean(compatible.substr(compatible.find(',') + 1));
    for (char16_t& c : model) {
        c = c >= u'a' && c <= u'z' ? static_cast<char16_t>(c - 32) : c;
    }
    return model;
}

struct CoreKind {
    std::u16string Model;
    std::uint64_t Count = 0;
};

/// "4 x CORTEX-A55, 4 x CORTEX-A76" from the cores' compatible strings, in order of appearance.
std::optional<std::u16string> DeviceTreeCores(MachineFiles& files) {
    const std::string folder = std::string(kDeviceTree) + "cpus";
    std::vector<CoreKind> kinds;
    for (const std::string& name : files.List(folder)) {
        if (!name.starts_with("cpu@")) {
            continue;
        }
        const std::u16string model =
            Model(LastString(files.Read(PathOf({folder, name, "compatible"})).value_or("")));
        if (IsPlaceholder(model)) {
            continue;
        }
        auto kind = std::ranges::find(kinds, model, &CoreKind::Model);
        if (kind == kinds.end()) {
            kind = kinds.insert(kind, {.Model = model});
        }
        ++kind->Count;
    }
    std::optional<std::u16string> cores;
    for (const CoreKind& kind : kinds) {
        Join(cores, u", ", platform::ToText(kind.Count) + u" x " + kind.Model);
    }
    return cores;
}

/// "BCM2712 (4 x CORTEX-A76)" from the board's and the cores' compatible strings.
std::optional<std::u16string> DeviceTreeProcessor(MachineFiles& files) {
    std::optional<std::u16string> text;
    if (const auto board = files.Read(std::string(kDeviceTree) + "compatible")) {
        if (auto chip = Model(LastString(*board)); !IsPlaceholder(chip)) {
            text = std::move(chip);
        }
    }
    if (const auto cores = DeviceTreeCores(files)) {
        text = text ? *text + u" (" + *cores + u")" : *cores;
    }
    return text;
}

}  // namespace

Product ReadProduct(MachineFiles& files) {
    Product product;
    const auto name = FileValue(files, "/sys/class/dmi/id/product_name");
    const auto version = FileValue(files, "/sys/class/dmi/id/product_version");
    product.Number = FileValue(files, "/sys/class/dmi/id/product_sku");
    if (name && LooksLikeCode(*name)) {
        for (const char* file : {"product_version", "product_family", "board_name"}) {
            const auto readable = FileValue(files, std::string("/sys/class/dmi/id/") + file);
            if (readable && LooksLikeName(*readable)) {
                product.Name = readable;
                product.Number = product.Number ? product.Number : name;
                break;
            }
        }
    }
    if (!product.Name) {
        product.Name = FirstValue(files, "product name",
                                  {"/sys/class/dmi/id/product_name", "/sys/class/dmi/id/product_version",
                                   "/sys/class/dmi/id/product_family", "/sys/class/dmi/id/board_name",
                                   "/sys/firmware/devicetree/base/model"});
    }
    if (!product.Name) {
        if (const auto hypervisor = FileValue(files, "/sys/hypervisor/type")) {
            product.Name = u"Virtual machine (" + *hypervisor + u")";
        }
    }
    if (!product.Number && version != product.Name) {
        product.Number = version;
    }
    if (!product.Number) {
        files.Note(
            "product number: no value: neither product_sku nor product_version in /sys/class/dmi/id tells "
            "one");
    }
    return product;
}

std::optional<std::u16string> ReadProcessor(MachineFiles& files, std::span<const SmbiosStructure> tables) {
    if (const auto cpuinfo = files.Read("/proc/cpuinfo")) {
        if (const auto model = LineValue(*cpuinfo, "model name", ':')) {
            if (auto value = Value(*model)) {
                return value;
            }
        }
    }
    for (const SmbiosStructure& structure : tables) {
        if (structure.Type == smbios::kProcessor) {
            if (auto value = Value(structure.Text(0x10))) {
                return value;
            }
        }
    }
    auto value = DeviceTreeProcessor(files);
    if (!value) {
        files.Note(
            "processor: no value: /proc/cpuinfo has no \"model name\", no firmware table names one, no "
            "device tree");
    }
    return value;
}

std::optional<std::u16string> ReadOperatingSystem(MachineFiles& files) {
    const std::string release = ReadOsRelease(files);
    auto text = ReleaseValue(release, "PRETTY_NAME");
    if (!text) {
        text = ReleaseValue(release, "NAME");
        const auto version = ReleaseValue(release, "VERSION_ID");
        if (text && version) {
            *text += u" " + *version;
        }
    }
    if (const auto kernel = KernelRelease(files)) {
        Join(text, u", ", u"Linux " + *kernel);
    }
    return text;
}

std::optional<std::u16string> ReadFirmwareVersion(MachineFiles& files) {
    auto text =
        FirstValue(files, "firmware version",
                   {"/sys/class/dmi/id/bios_version", "/sys/firmware/devicetree/base/chosen/u-boot,version"});
    if (const auto date = FileValue(files, "/sys/class/dmi/id/bios_date")) {
        Join(text, u", ", IsoDate(*date));
    }
    if (text && files.Read("/sys/firmware/efi/fw_platform_size")) {
        *text += u", UEFI";
    }
    return text;
}

std::optional<std::u16string> ReadSystemBoard(MachineFiles& files) {
    std::optional<std::u16string> text;
    if (const auto name = FirstValue(files, "system board", {"/sys/class/dmi/id/board_name"})) {
        const auto vendor = FileValue(files, "/sys/class/dmi/id/board_vendor");
        const auto version = FileValue(files, "/sys/class/dmi/id/board_version");
        for (const auto& part : {vendor, name, version}) {
            if (part) {
                Join(text, u" ", *part);
            }
        }
    }
    return text;
}

std::optional<std::u16string> ReadSerialNumber(MachineFiles& files) {
    return FirstValue(files, "serial number",
                      {"/sys/class/dmi/id/product_serial", "/sys/class/dmi/id/board_serial",
                       "/sys/class/dmi/id/chassis_serial", "/sys/firmware/devicetree/base/serial-number"});
}

std::optional<std::u16string> ReadBuildIdentifier(MachineFiles& files) {
    const std::string release = ReadOsRelease(files);
    for (const char* key : {"BUILD_ID", "IMAGE_VERSION"}) {
        if (auto value = ReleaseValue(release, key)) {
            return value;
        }
    }
    return KernelRelease(files);
}

}  // namespace daemon_service
