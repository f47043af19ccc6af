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
