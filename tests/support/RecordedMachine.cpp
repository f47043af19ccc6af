#include "tests/support/RecordedMachine.h"

#include <cstdlib>
#include <fstream>

#include "daemon/machine/SystemInformation.h"
#include "daemon/machine/UsbTypeC.h"
#include "platform/core/Text.h"

namespace daemon_service {

SmbiosBuilder& SmbiosBuilder::Add(std::uint8_t type, std::uint16_t handle,
                                  const std::vector<std::uint8_t>& body,
                                  const std::vector<std::string>& strings) {
    m_bytes += static_cast<char>(type);
    m_bytes += static_cast<char>(4 + body.size());
    m_bytes += static_cast<char>(handle & 0xFF);
    m_bytes += static_cast<char>(handle >> 8);
    m_bytes.append(body.begin(), body.end());
    for (const std::string& text : strings) {
        m_bytes.append(text).append(1, '\0');
    }
    m_bytes.append(strings.empty() ? 2 : 1, '\0');
    return *this;
}

SmbiosBuilder& SmbiosBuilder::MemoryArray(std::uint16_t handle, std::uint8_t use) {
    return Add(16, handle, {3, use, 3, 0, 0, 0, 0, 0xFE, 0xFF, 2, 0});
}

SmbiosBuilder& SmbiosBuilder::MemoryDevice(std::uint16_t array, std::uint16_t size, std::uint32_t extended,
                                           std::uint8_t type) {
    std::vector<std::uint8_t> body(0x20 - 4);
    const auto put = [&body](std::size_t offset, std::uint32_t value, int bytes) {
        for (int i = 0; i < bytes; ++i) {
            body[offset - 4 + i] = static_cast<std::uint8_t>(value >> 8 * i);
        }
    };
    put(0x04, array, 2);
    put(0x0C, size, 2);
    put(0x12, type, 1);
    put(0x18, 1, 1);
    put(0x1C, extended, 4);
    return Add(17, 0x1100, body, {"MODULE-SERIAL-77"});
}

SmbiosBuilder& SmbiosBuilder::HardwareSecurity(std::uint8_t settings) {
    return Add(24, 0x1800, {settings});
}

RecordedMachine::RecordedMachine() {
    std::string pattern = (std::filesystem::temp_directory_path() / "kelvane-machine-XXXXXX").string();
    m_root = mkdtemp(pattern.data());
}

RecordedMachine::~RecordedMachine() {
    std::error_code ignored;
    std::filesystem::remove_all(m_root, ignored);
}

RecordedMachine& RecordedMachine::File(const std::string& path, const std::string& content) {
    const auto place = m_root / path.substr(1);
    std::filesystem::create_directories(place.parent_path());
    std::ofstream(place, std::ios::binary) << content;
    return *this;
}

RecordedMachine& RecordedMachine::Link(const std::string& path, const std::string& target) {
    const auto place = m_root / path.substr(1);
    std::filesystem::create_directories(place.parent_path());
    std::filesystem::create_symlink(target, place);
    return *this;
}

RecordedMachine& RecordedMachine::Dmi(const std::vector<std::pair<std::string, std::string>>& files) {
    for (const auto& [name, content] : files) {
        File("/sys/class/dmi/id/" + name, content + "\n");
    }
    return *this;
}

RecordedMachine& RecordedMachine::Tables(const SmbiosBuilder& tables) {
    return File("/sys/firmware/dmi/tables/DMI", tables.Bytes());
}

RecordedMachine& RecordedMachine::MemTotal(std::uint64_t kib) {
    return File("/proc/meminfo", "MemTotal:       " + std::to_string(kib) + " kB\nMemFree:  1 kB\n");
}

RecordedMachine& RecordedMachine::Debian() {
    File("/usr/lib/os-release",
         "PRETTY_NAME=\"Debian GNU/Linux 12 (bookworm)\"\nNAME=\"Debian GNU/Linux\"\n");
    Link("/etc/os-release", "../usr/lib/os-release");
    return File("/proc/sys/kernel/osrelease", "6.1.0-18-amd64\n");
}

RecordedMachine& RecordedMachine::Port(const std::string& name,
                                       const std::vector<std::pair<std::string, std::string>>& files) {
    const std::string folder = "/sys/class/typec/" + name + "/";
    File(folder + "power_role", "[source] sink\n");
    for (const auto& [file, content] : files) {
        File(folder + file, content + "\n");
    }
    return *this;
}

RecordedMachine& RecordedMachine::Hub(int bus, const std::string& speed, const std::string& port) {
    const std::string number = std::to_string(bus);
    File("/sys/bus/usb/devices/usb" + number + "/speed", speed + "\n");
    return Link("/sys/bus/usb/devices/" + number + "-0:1.0/usb" + number + "-port1/connector",
                "../../../../../platform/ucsi/typec/" + port);
}

std::string RecordedMachine::SystemInformation() const {
    MachineFiles files(Root());
    return platform::ToUtf8(Joined(ReadSystemInformation(files)));
}

std::string RecordedMachine::UsbTypeC() const {
    MachineFiles files(Root());
    return platform::ToUtf8(Joined(ReadUsbTypeC(files)));
}

std::string RecordedMachine::Field(std::size_t index) const {
    MachineFiles files(Root());
    return platform::ToUtf8(ReadSystemInformation(files).at(index).Text);
}

std::vector<std::string> RecordedMachine::Notes() const {
    MachineFiles files(Root());
    ReadSystemInformation(files);
    return files.Notes();
}

void BuildLaptop(RecordedMachine& machine) {
    machine.Debian()
        .Dmi({{"product_name", "20HRCTO1WW"},
              {"product_version", "Veldra Slate X1"},
              {"product_sku", "VELDRA_MT_20HR"},
              {"product_serial", "PF0ABCDE"},
              {"board_vendor", "Veldra"},
              {"board_name", "20HRCTO1WW"},
              {"board_version", "SDK0J40697 WIN"},
              {"bios_version", "N1MET61W (1.46 )"},
              {"bios_date", "02/14/2023"}})
        .File("/proc/cpuinfo", "processor\t: 0\nmodel name\t: Quad  Core   CPU @ 2.70GHz\n")
        .File("/sys/firmware/efi/fw_platform_size", "64\n")
        .MemTotal(16357888)
        .Tables(SmbiosBuilder()
                    .MemoryArray(0x1000)
                    .MemoryDevice(0x1000, 8192)
                    .MemoryDevice(0x1000, 8192)
                    .HardwareSecurity(0x55))
        .File("/sys/class/firmware-attributes/vendor-wmi/authentication/Admin/role", "bios-admin\n")
        .File("/sys/class/firmware-attributes/vendor-wmi/authentication/Admin/is_enabled", "1\n")
        .File("/sys/class/firmware-attributes/vendor-wmi/authentication/Admin/mechanism", "password\n")
        .Port("port0", {{"usb_power_delivery_revision", "3.0"},
                        {"port0.0/svid", "ff01"},
                        {"usb_power_delivery/source-capabilities/1:fixed_supply/voltage", "5000mV"},
                        {"usb_power_delivery/source-capabilities/1:fixed_supply/maximum_current", "3000mA"}})
        .Port("port1", {{"port1.0/svid", "8087"}, {"power_operation_mode", "1.5A"}})
        .File("/sys/class/typec/port0-partner/type", "not_a_port\n")
        .Hub(1, "480", "port0")
        .Hub(2, "10000", "port0")
        .Hub(4, "5000", "port1");
}

}  // namespace daemon_service
