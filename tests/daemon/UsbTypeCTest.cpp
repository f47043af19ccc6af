// The USB Type-C record and ports of small machines. usb-type-c.txt holds their files below /sys, and after
// them what is read from these: "PATH = text", "PATH -> target of a link", "PATH : bytes in hexadecimal", ">
// result".

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "daemon/machine/TypeCPorts.h"
#include "platform/core/Text.h"
#include "tests/support/Golden.h"
#include "tests/support/RecordedMachine.h"

namespace daemon_service {
namespace {

constexpr auto kCases = "daemon/usb-type-c.txt";

void AddFile(RecordedMachine& machine, const std::string& line) {
    std::istringstream words(line);
    std::string path;
    std::string kind;
    std::string value;
    words >> path >> kind;
    std::getline(words >> std::ws, value);
    path.insert(0, "/sys/");
    if (kind == "->") {
        machine.Link(path, value);
    } else if (kind == ":") {
        std::istringstream bytes(value);
        std::string content;
        for (unsigned byte = 0; bytes >> std::hex >> byte;) {
            content += static_cast<char>(byte);
        }
        machine.File(path, content);
    } else {
        machine.File(path, value + "\n");
    }
}

std::string Described(const TypeCPort& port) {
    std::string text = "> " + port.Name + ", " + port.Source;
    const auto add = [&text](const std::string& label, const std::string& value) {
        text += value.empty() ? "" : "; " + label + value;
    };
    const auto support = [](Support value) {
        return value == Support::Unknown ? "" : value == Support::Yes ? "yes" : "no";
    };
    const auto number = [](std::optional<std::uint64_t> value) {
        return value ? std::to_string(*value) : "";
    };
    for (const std::string& standard : port.UsbStandards) {
        add("", standard);
    }
    add("at ", port.Location);
    add("data ", port.DataRole);
    add("power ", port.PowerRole);
    add("delivery ", port.PowerDeliveryRevision);
    add("DisplayPort ", support(port.DisplayPortSupport));
    add("Thunderbolt ", support(port.ThunderboltSupport));
    add("USB4 ", support(port.Usb4Support));
    add("gives mW ", number(port.Milliwatts));
    add("takes mW ", number(port.SinkMilliwatts));
    if (const auto& partner = port.Partner) {
        add("partner ", partner->ProductType + "/" + partner->Accessory + "/" + partner->VendorId + ":" +
                            partner->ProductId);
        add("its delivery ", partner->PowerDelivery ? *partner->PowerDelivery ? "yes" : "no" : "");
    }
    return text + "\n";
}

TEST(UsbTypeC, RecordAndPortsOfSmallMachines) {
    std::ifstream cases(std::string(KELVANE_TESTS) + "/" + kCases);
    std::string now;
    std::string line;
    while (std::getline(cases, line)) {
        RecordedMachine machine;
        now += line + "\n";  // the case's name
        while (std::getline(cases, line) && !line.empty()) {
            if (!line.starts_with('>')) {
                now += line + "\n";
                AddFile(machine, line);
            }
        }
        now += "> " + machine.UsbTypeC() + "\n";
        MachineFiles files(machine.Root());
        for (const TypeCPort& port : ReadTypeCPorts(files)) {
            now += Described(port);
        }
        now += "\n";
    }
    EXPECT_FALSE(now.empty());
    tests::ExpectGolden(kCases, now);
}

}  // namespace
}  // namespace daemon_service
