#include "tests/support/RecordedMachine.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>

#include "daemon/machine/SystemInformation.h"
#include "daemon/machine/UsbTypeC.h"
#include "platform/core/Text.h"

namespace daemon_service {

std::string MachineFolder(const std::string& name) {
    return KELVANE_TESTS "/machines/" + name;
}

std::vector<std::string> MachineNames() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(MachineFolder(""))) {
        if (entry.is_directory()) {
            names.push_back(entry.path().filename());
        }
    }
    std::ranges::sort(names);
    return names;
}

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

RecordedMachine& RecordedMachine::Tables(const SmbiosBuilder& tables) {
    return File("/sys/firmware/dmi/tables/DMI", tables.Bytes());
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

void BuildLaptop(RecordedMachine& machine) {
    std::filesystem::copy(
        MachineFolder("business-laptop"), machine.Root(),
        std::filesystem::copy_options::recursive | std::filesystem::copy_options::copy_symlinks);
}

}  // namespace daemon_service
