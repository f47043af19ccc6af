// The USB Type-C record of machines as the kernel shows them.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "daemon/machine/UsbTypeC.h"
#include "platform/core/Text.h"
#include "tests/support/RecordedMachine.h"

namespace daemon_service {
namespace {

TEST(UsbTypeC, TwoPortsTellTheBestOfEachCapability) {
    RecordedMachine machine;
    BuildLaptop(machine);
    EXPECT_EQ(
        machine.UsbTypeC(),
        "Best of 2 ports: USB 2.0(~!~)USB 3.1 Gen 2(~!~), USB 3.2 Gen 2<.^.>Supported<.^.>Supported<.^.>"
        "Supported<.^.>Supported<.^.>15.0 W");
}

TEST(UsbTypeC, PortWithoutCapabilitiesTellsOnlyWhatIsKnown) {
    RecordedMachine machine;
    machine.Port("port0", {{"power_operation_mode", "default"}, {"usb_power_delivery_revision", "0.0"}});
    EXPECT_EQ(machine.UsbTypeC(),
              "USB Type-C<.^.>NotSupported<.^.>NotSupported<.^.>NotSupported<.^.>Supported<.^.>null");
}

TEST(UsbTypeC, Usb4ByRouterOrByPort) {
    constexpr auto kWanted =
        "USB 2.0(~!~)USB4(~!~), USB 4<.^.>NotSupported<.^.>NotSupported<.^.>Supported<.^.>Supported<.^.>null";
    RecordedMachine byPort;
    byPort.Port("port0", {{"usb_capability", "usb2 usb3 [usb4]"}});
    EXPECT_EQ(byPort.UsbTypeC(), kWanted);

    RecordedMachine byRouter;
    const std::string router = "/sys/bus/thunderbolt/devices/0-0/";
    byRouter.Port("port0")
        .File(router + "generation", "4\n")
        .Link(router + "usb4_port1/connector", "../typec/port0");
    EXPECT_EQ(byRouter.UsbTypeC(), kWanted);

    RecordedMachine dockOnly;  // a USB4 device behind an older controller
    dockOnly.Port("port0").File(router + "generation", "3\n");
    dockOnly.File("/sys/bus/thunderbolt/devices/0-1/generation", "4\n");
    EXPECT_TRUE(dockOnly.UsbTypeC().starts_with("USB Type-C<.^.>"));
}

TEST(UsbTypeC, ConnectorsInFirmwareTablesOnly) {
    RecordedMachine machine;
    machine.Tables(SmbiosBuilder().Add(8, 1, {0, 0, 0, 0x23, 0x10}).Add(8, 2, {0, 0, 0, 0x12, 0x10}));
    EXPECT_EQ(machine.UsbTypeC(),
              "USB Type-C<.^.>NotSupported<.^.>NotSupported<.^.>NotSupported<.^.>NotSupported<.^.>null");
}

struct Generation {
    const char* speed;
    const char* wantedField;
};

TEST(UsbTypeC, FirstFieldServesBothOfItsReaders) {
    for (const Generation& row :
         {Generation{"480", "USB 2.0"}, Generation{"5000", "USB 2.0(~!~)USB 3.1 Gen 1(~!~), USB 3.2 Gen 1"},
          Generation{"10000", "USB 2.0(~!~)USB 3.1 Gen 2(~!~), USB 3.2 Gen 2"},
          Generation{"20000", "USB 2.0(~!~)USB 3.2 Gen 2x2(~!~), USB 3.2 Gen 2"}}) {
        RecordedMachine machine;
        machine.Port("port0").Hub(1, "480", "port0").Hub(2, row.speed, "port0");
        const std::string record = machine.UsbTypeC();
        EXPECT_EQ(record.substr(0, record.find("<.^.>")), row.wantedField);
    }
}

struct Power {
    const char* fault;
    std::vector<std::pair<std::string, std::string>> files;
    const char* wanted;
};

TEST(UsbTypeC, PowerIsTheMostOfAllObjects) {
    const std::string pdo = "usb_power_delivery/source-capabilities/";
    const Power cases[] = {
        {"fixed supplies",
         {{pdo + "1:fixed_supply/voltage", "5000mV"},
          {pdo + "1:fixed_supply/maximum_current", "3000mA"},
          {pdo + "2:fixed_supply/voltage", "20000mV"},
          {pdo + "2:fixed_supply/maximum_current", "3250mA"}},
         "65.0 W"},
        {"programmable supply",
         {{pdo + "1:programmable_supply/maximum_voltage", "11000mV"},
          {pdo + "1:programmable_supply/maximum_current", "2250mA"}},
         "24.8 W"},
        {"battery", {{pdo + "1:battery/maximum_power", "7460mW"}}, "7.5 W"},
        {"values without their unit are not trusted",
         {{pdo + "1:fixed_supply/voltage", "5000"}, {pdo + "1:fixed_supply/maximum_current", "3000mA"}},
         "null"},
        {"no delivery, current by pull-up", {{"power_operation_mode", "3.0A"}}, "15.0 W"},
        {"no delivery, USB 3 default",
         {{"usb_capability", "usb3"}, {"power_operation_mode", "default"}},
         "4.5 W"},
        {"the partner's current is not ours",
         {{"power_role", "source [sink]"}, {"power_operation_mode", "3.0A"}},
         "null"},
    };
    for (const Power& row : cases) {
        RecordedMachine machine;
        machine.Port("port0", row.files);
        const std::string record = machine.UsbTypeC();
        EXPECT_EQ(record.substr(record.rfind('>') + 1), row.wanted) << row.fault;
    }
}

}  // namespace
}  // namespace daemon_service
