// Files of /sys, /proc and /etc: whole machines whose files hold any bytes. The input is a row of files, each
// a byte that picks its path and the content up to the next 0xFF.

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "daemon/actions/Configuration.h"
#include "daemon/machine/SystemInformation.h"
#include "daemon/machine/UsbTypeC.h"
#include "daemon/machine/Values.h"

namespace {

constexpr std::array kPaths{
    "/sys/class/dmi/id/product_name",
    "/sys/class/dmi/id/product_version",
    "/sys/class/dmi/id/product_sku",
    "/sys/class/dmi/id/product_serial",
    "/sys/class/dmi/id/bios_version",
    "/sys/class/dmi/id/bios_date",
    "/sys/class/dmi/id/board_name",
    "/sys/firmware/devicetree/base/model",
    "/sys/firmware/devicetree/base/compatible",
    "/sys/firmware/devicetree/base/cpus/cpu@0/compatible",
    "/sys/firmware/dmi/tables/DMI",
    "/sys/devices/system/memory/block_size_bytes",
    "/sys/devices/system/memory/memory0/online",
    "/sys/class/firmware-attributes/d/authentication/a/is_enabled",
    "/sys/class/firmware-attributes/d/authentication/a/role",
    "/proc/cpuinfo",
    "/proc/meminfo",
    "/proc/sys/kernel/osrelease",
    "/etc/os-release",
    "/run/udev/data/+dmi:id",
    "/sys/class/typec/port0/power_role",
    "/sys/class/typec/port0/usb_capability",
    "/sys/class/typec/port0/power_operation_mode",
    "/sys/class/typec/port0/usb_power_delivery/source-capabilities/1:fixed_supply/voltage",
    "/sys/class/typec/port0/usb_power_delivery/source-capabilities/1:fixed_supply/maximum_current",
    "/sys/class/typec/port0/port0.0/svid",
    "/sys/bus/thunderbolt/devices/0-0/generation",
};

const std::filesystem::path& Root() {
    static const std::filesystem::path root = [] {
        std::string pattern = "/dev/shm/kelvane-fuzz-XXXXXX";
        return std::filesystem::path(mkdtemp(pattern.data()));
    }();
    return root;
}

void Require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

/// The fields that a reader of the joined record finds are the fields that were written.
void Check(const std::vector<daemon_service::Field>& fields, std::size_t limit) {
    const std::u16string record = daemon_service::Joined(fields);
    Require(record.size() <= limit);
    std::size_t separators = 0;
    for (auto at = record.find(daemon_service::kFieldSeparator); at != std::u16string::npos;
         at = record.find(daemon_service::kFieldSeparator, at + daemon_service::kFieldSeparator.size())) {
        ++separators;
    }
    Require(fields.empty() || separators + 1 == fields.size());
    for (const char16_t unit : record) {
        Require(unit >= 0x20 && unit != 0x7F);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view input(reinterpret_cast<const char*>(data), size);
    std::filesystem::remove_all(Root());
    std::filesystem::create_directories(Root());
    for (int files = 0; !input.empty() && files < 12; ++files) {
        const std::string path = kPaths[static_cast<std::uint8_t>(input[0]) % kPaths.size()];
        input.remove_prefix(1);
        const auto end = std::min(input.find('\xFF'), input.size());
        std::filesystem::create_directories((Root() / path.substr(1)).parent_path());
        std::ofstream(Root() / path.substr(1), std::ios::binary) << input.substr(0, end);
        input.remove_prefix(std::min(end + 1, input.size()));
    }
    daemon_service::Tree tree(Root());
    const auto information = daemon_service::ReadSystemInformation(tree);
    Require(information.size() == 10 || information.size() == 11);
    Check(information, daemon_service::kSystemInformationLimit);
    const auto typeC = daemon_service::ReadUsbTypeC(tree);
    Require(typeC.empty() || typeC.size() == 6);
    Check(typeC, daemon_service::kUsbTypeCLimit);
    try {
        daemon_service::ParseConfiguration(std::string_view(reinterpret_cast<const char*>(data), size));
    } catch (const daemon_service::ConfigurationError&) {
        // Refused with a reason, as it should be.
    }
    return 0;
}
