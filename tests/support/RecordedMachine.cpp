#include "tests/support/RecordedMachine.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <utility>

#include "daemon/machine/SystemInformation.h"
#include "daemon/machine/UsbTypeC.h"
#include "platform/core/Text.h"

namespace daemon_service {

namespace {

void AddStructure(std::string& table, std::string head, const std::string& strings) {
    if (!head.empty()) {
        head[1] = static_cast<char>(head.size());
        table += head + strings + std::string(strings.empty() ? 2 : 1, '\0');
    }
}

/// A firmware table as tests/machines/README.md describes it.
std::string SmbiosBytes(std::istream& text) {
    std::string table;
    std::string head;  // of the structure that is not closed yet
    std::string strings;
    for (std::string line; std::getline(text, line);) {
        std::istringstream words(line);
        std::string first;
        words >> first;
        if (first.starts_with('"')) {
            strings += line.substr(line.find('"') + 1, line.rfind('"') - line.find('"') - 1) + '\0';
            continue;
        }
        const bool continues = line.starts_with(' ');
        if (!continues) {
            AddStructure(table, std::exchange(head, {}), std::exchange(strings, {}));
        }
        if (first.empty() || first[0] == '#') {
            continue;
        }
        std::string& target = first == "raw" ? table : head;
        if (first == "raw" || continues) {
            words.seekg(first == "raw" ? 3 : 0);
        } else {
            unsigned handle = 0;
            words >> std::hex >> handle;
            head = {static_cast<char>(std::stoi(first)), 0, static_cast<char>(handle & 0xFF),
                    static_cast<char>(handle >> 8)};
        }
        words >> std::hex;
        for (unsigned byte = 0; words >> byte;) {
            target += static_cast<char>(byte);
        }
    }
    AddStructure(table, head, strings);
    return table;
}

std::filesystem::path Machines() {
    return std::filesystem::path(KELVANE_TESTS) / "machines";
}

}  // namespace

std::vector<std::string> MachineNames() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(Machines())) {
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

RecordedMachine::RecordedMachine(const std::string& name) : RecordedMachine() {
    Add(name);
}

RecordedMachine::~RecordedMachine() {
    std::error_code ignored;
    std::filesystem::remove_all(m_root, ignored);
}

RecordedMachine& RecordedMachine::Add(const std::string& name) {
    namespace fs = std::filesystem;
    fs::copy(Machines() / name, m_root, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    fs::remove(m_root / "record.txt");
    std::vector<fs::path> tables;
    for (const auto& entry : fs::recursive_directory_iterator(m_root)) {
        if (entry.path().extension() == ".smbios") {
            tables.push_back(entry.path());
        }
    }
    for (fs::path& table : tables) {
        std::ifstream text(table);
        const std::string bytes = SmbiosBytes(text);
        fs::remove(table);
        std::ofstream(table.replace_extension(), std::ios::binary) << bytes;
    }
    return *this;
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
    machine.Add("business-laptop");
}

}  // namespace daemon_service
