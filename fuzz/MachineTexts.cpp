// Files of /sys, /proc and /etc: whole machines whose files hold any bytes. The input is a row of files, each
// a byte that picks its path and the content up to the next 0xFF.

#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <string>
#include <tuple>

#include "daemon/machine/SystemInformation.h"
#include "daemon/machine/UsbTypeC.h"
#include "daemon/machine/Values.h"
#include "fuzz/Target.h"
#include "tests/support/RecordedMachine.h"

namespace {

/// Those that end in "connector" are symbolic links, with the content as their target.
constexpr auto kPaths = std::to_array<std::string_view>({
    "/etc/os-release",
    "/proc/cpuinfo",
    "/proc/meminfo",
    "/proc/sys/kernel/osrelease",
    "/run/udev/data/+dmi:id",
    "/sys/bus/thunderbolt/devices/0-0/generation",
    "/sys/bus/thunderbolt/devices/0-0/usb4_port1/connector",
    "/sys/bus/usb/devices/1-0:1.0/usb1-port1/connector",
    "/sys/bus/usb/devices/2-0:1.0/usb2-port1/connector",
    "/sys/bus/usb/devices/4-0:1.0/usb4-port1/connector",
    "/sys/bus/usb/devices/usb1/speed",
    "/sys/bus/usb/devices/usb2/speed",
    "/sys/bus/usb/devices/usb4/speed",
    "/sys/class/dmi/id/bios_date",
    "/sys/class/dmi/id/bios_version",
    "/sys/class/dmi/id/board_name",
    "/sys/class/dmi/id/board_vendor",
    "/sys/class/dmi/id/board_version",
    "/sys/class/dmi/id/product_family",
    "/sys/class/dmi/id/product_name",
    "/sys/class/dmi/id/product_serial",
    "/sys/class/dmi/id/product_sku",
    "/sys/class/dmi/id/product_version",
    "/sys/class/firmware-attributes/vendor-wmi/authentication/Admin/is_enabled",
    "/sys/class/firmware-attributes/vendor-wmi/authentication/Admin/mechanism",
    "/sys/class/firmware-attributes/vendor-wmi/authentication/Admin/role",
    "/sys/class/typec/port0-partner/type",
    "/sys/class/typec/port0/port0.0/svid",
    "/sys/class/typec/port0/power_operation_mode",
    "/sys/class/typec/port0/power_role",
    "/sys/class/typec/port0/usb_capability",
    "/sys/class/typec/port0/usb_power_delivery/source-capabilities/1:fixed_supply/maximum_current",
    "/sys/class/typec/port0/usb_power_delivery/source-capabilities/1:fixed_supply/voltage",
    "/sys/class/typec/port0/usb_power_delivery/source-capabilities/2:battery/maximum_power",
    "/sys/class/typec/port0/usb_power_delivery_revision",
    "/sys/class/typec/port1/port1.0/svid",
    "/sys/class/typec/port1/power_operation_mode",
    "/sys/class/typec/port1/power_role",
    "/sys/class/typec/port1/usb_capability",
    "/sys/devices/system/memory/block_size_bytes",
    "/sys/devices/system/memory/memory0/online",
    "/sys/firmware/devicetree/base/chosen/u-boot,version",
    "/sys/firmware/devicetree/base/compatible",
    "/sys/firmware/devicetree/base/cpus/cpu@0/compatible",
    "/sys/firmware/devicetree/base/cpus/cpu@1/compatible",
    "/sys/firmware/devicetree/base/model",
    "/sys/firmware/devicetree/base/serial-number",
    "/sys/firmware/dmi/tables/DMI",
    "/sys/firmware/efi/fw_platform_size",
    "/sys/hypervisor/type",
    "/usr/lib/os-release",
});

/// Ends a file's content.
constexpr char kEnd = '\xFF';

/// The machine as an input; each of its files must have a place in kPaths.
std::string Encode(const daemon_service::RecordedMachine& machine) {
    std::string input;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(machine.Root())) {
        if (entry.is_directory()) {
            continue;
        }
        const bool isLink = entry.path().filename() == "connector";
        const auto path = "/" +
                          std::filesystem::relative(entry.path().parent_path(), machine.Root()).string() +
                          "/" + entry.path().filename().string();
        const auto place = std::ranges::find(kPaths, path);
        fuzz::Require(place != kPaths.end());
        std::ifstream file(entry.path(), std::ios::binary);
        input += static_cast<char>(place - kPaths.begin());
        input += isLink ? std::filesystem::read_symlink(entry.path()).string()
                        : std::string(std::istreambuf_iterator<char>(file), {});
        input += kEnd;
    }
    return input;
}

/// The fields that a reader of the joined record finds are the fields that were written.
void Check(const std::vector<daemon_service::Field>& fields, std::size_t limit) {
    const std::u16string record = daemon_service::Joined(fields);
    fuzz::Require(record.size() <= limit);
    std::size_t separators = 0;
    for (auto at = record.find(daemon_service::kFieldSeparator); at != std::u16string::npos;
         at = record.find(daemon_service::kFieldSeparator, at + daemon_service::kFieldSeparator.size())) {
        ++separators;
    }
    fuzz::Require(fields.empty() || separators + 1 == fields.size());
    for (const char16_t unit : record) {
        fuzz::Require(unit >= 0x20 && unit != 0x7F);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view input(reinterpret_cast<const char*>(data), size);
    const auto root = fuzz::Folder() / "machine";
    std::filesystem::remove_all(root);
    std::filesystem::create_directories(root);
    while (!input.empty()) {
        const auto path = root / kPaths[static_cast<std::uint8_t>(input[0]) % kPaths.size()].substr(1);
        input.remove_prefix(1);
        const std::string_view content = input.substr(0, input.find(kEnd));
        std::filesystem::create_directories(path.parent_path());
        if (path.filename() == "connector") {
            std::ignore = symlink(std::string(content).c_str(), path.c_str());
        } else {
            std::ofstream(path, std::ios::binary) << content;
        }
        input.remove_prefix(std::min(content.size() + 1, input.size()));
    }
    daemon_service::MachineFiles files(root);
    const auto information = daemon_service::ReadSystemInformation(files);
    fuzz::Require(information.size() == 10 || information.size() == 11);
    Check(information, daemon_service::kSystemInformationLimit);
    const auto typeC = daemon_service::ReadUsbTypeC(files);
    fuzz::Require(typeC.empty() || typeC.size() == 6);
    Check(typeC, daemon_service::kUsbTypeCLimit);
    return 0;
}

std::vector<std::string> fuzz::Seeds() {
    daemon_service::RecordedMachine laptop;
    BuildLaptop(laptop);
    daemon_service::RecordedMachine board;
    board.MemTotal(8060928)
        .File("/etc/os-release", "NAME='Debian \\'GNU\\' Linux'\nVERSION_ID=12\nIMAGE_VERSION=7\n")
        .File("/sys/firmware/devicetree/base/model", std::string("Board 5\0", 8))
        .File("/sys/firmware/devicetree/base/compatible", std::string("maker,board\0maker,chip5\0", 24))
        .File("/sys/firmware/devicetree/base/cpus/cpu@0/compatible", "maker,core-a55")
        .File("/sys/firmware/devicetree/base/cpus/cpu@1/compatible", "maker,core-a76")
        .File("/sys/firmware/devicetree/base/chosen/u-boot,version", "2023.04")
        .File("/sys/devices/system/memory/block_size_bytes", "80000000\n")
        .File("/sys/devices/system/memory/memory0/online", "1\n")
        .File("/sys/hypervisor/type", "hypervisor\n")
        .Tables(daemon_service::SmbiosBuilder()
                    .Add(8, 8, {1, 0, 2, 0x23, 0}, {"inside", "outside"})
                    .Add(4, 4, std::vector<std::uint8_t>(44, 1), {"Core CPU"})
                    .HardwareSecurity(0x44));
    daemon_service::RecordedMachine desktop;
    desktop.MemTotal(16357888)
        .Dmi({{"product_name", "Tower Seven"}, {"product_version", "2"}, {"product_family", "To be filled"}})
        .File("/run/udev/data/+dmi:id",
              "E:MEMORY_ARRAY_NUM_DEVICES=2\nE:MEMORY_DEVICE_0_SIZE=8589934592\n"
              "E:MEMORY_DEVICE_1_SIZE=8589934592\nE:MEMORY_DEVICE_1_TYPE=DRAM\n")
        .Tables(daemon_service::SmbiosBuilder().MemoryArray(1).MemoryDevice(1, 0x7FFF, 8192))
        .Port("port1", {{"usb_capability", "[usb3]"}, {"power_operation_mode", "default"}})
        .Port("port0", {{"usb_capability", "usb2 [usb3] usb4"},
                        {"usb_power_delivery/source-capabilities/2:battery/maximum_power", "15000mW"}})
        .File("/sys/bus/thunderbolt/devices/0-0/generation", "4\n")
        .Link("/sys/bus/thunderbolt/devices/0-0/usb4_port1/connector", "../../typec/port0");
    return {Encode(laptop), Encode(board), Encode(desktop)};
}
