// What --record writes: the same answers, and no identifier.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "daemon/machine/Recorder.h"
#include "tests/support/RecordedMachine.h"

namespace daemon_service {
namespace {

TEST(Recorder, RecordedTreeGivesTheSameRecordsWithoutIdentifiers) {
    RecordedMachine laptop;
    BuildLaptop(laptop);
    laptop.Dmi({{"board_serial", "L1HF0ABCDE"}, {"chassis_serial", "Default string"}})
        .File("/proc/cpuinfo", "processor: 0\nmodel name: Quad  Core\nSerial: 10000000abcdef01\n")
        .File("/run/udev/data/+dmi:id",
              "E:MEMORY_DEVICE_0_SIZE=8589934592\nE:MEMORY_DEVICE_0_SERIAL_NUMBER=MODULE-SERIAL-77\nE:ID_X="
              "PF0ABCDE\n");
    RecordedMachine copy;
    Record(laptop.Root(), copy.Root());

    std::string expected = laptop.SystemInformation();
    expected.replace(expected.find("PF0ABCDE"), 8, "RECORDED-SERIAL");
    EXPECT_EQ(copy.SystemInformation(), expected);
    EXPECT_EQ(copy.UsbTypeC(), laptop.UsbTypeC());

    EXPECT_EQ(WithoutIdentifiers("/run/udev/data/+dmi:id",
                                 "E:MEMORY_DEVICE_0_SIZE=1\nE:MEMORY_DEVICE_0_ASSET_TAG=7\n"),
              "E:MEMORY_DEVICE_0_SIZE=1\n");

    std::size_t files = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(copy.Root())) {
        if (entry.is_regular_file()) {
            ++files;
            std::ifstream file(entry.path(), std::ios::binary);
            const std::string content(std::istreambuf_iterator<char>(file), {});
            for (const char* identifier : {"PF0ABCDE", "L1HF0ABCDE", "MODULE-SERIAL", "10000000abcdef01"}) {
                EXPECT_THAT(content, testing::Not(testing::HasSubstr(identifier))) << entry.path();
            }
        }
    }
    EXPECT_GT(files, 20u);
    EXPECT_THROW(Record(laptop.Root(), copy.Root()), std::exception) << "nothing is written over";
}

}  // namespace
}  // namespace daemon_service
