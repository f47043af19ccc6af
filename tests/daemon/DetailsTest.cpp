// The details document and what --print shows, of the machines of tests/machines and of one with too much.

#include "daemon/service/Details.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "daemon/machine/ReadMachine.h"
#include "daemon/service/Print.h"
#include "platform/core/Text.h"
#include "tests/support/Golden.h"
#include "tests/support/RecordedMachine.h"

namespace daemon_service {
namespace {

using testing::HasSubstr;

MachineDetails Machine(const std::string& name) {
    MachineFiles files(MachineFolder(name));
    return ReadMachine(files);
}

TEST(Details, OfTheMachinesAreAsTheirGoldenFilesSay) {
    for (const std::string& name : MachineNames()) {
        const auto document = platform::ToUtf8(DetailsDocument(Machine(name), {}, {.Pending = true}));
        tests::ExpectGolden("machines/" + name + "/details.json", tests::JsonLines(document) + "\n");
    }
}

TEST(Details, TooLongLoseTheEndsOfTextsAndOfListsAndSaySo) {
    MachineDetails machine = Machine("usb4-laptop");
    for (const DetailsField& field : kDetailsFields) {
        machine.*field.Text = {.Value = std::u16string(1'000, u'"'), .Source = std::string(5'000, '\\')};
    }
    machine.SerialNumber = {.Value = {}, .Source = "s", .Why = Missing::Denied, .Detail = "x\ty"};
    machine.TypeCPorts.resize(60, machine.TypeCPorts[0]);
    machine.MemoryModules.resize(2'000, machine.MemoryModules[0]);
    machine.BiosPasswordKinds.resize(3'000, std::string(90, 'k'));
    const auto text = platform::ToUtf8(
        DetailsDocument(machine, {.By = FirmwareRequest::Method::BootEntry, .Entry = "memory test"},
                        {.Failure = ActionError::Status::NotSupported}));
    EXPECT_THAT(text.size(),
                testing::AllOf(testing::Gt(kMostDocument - 400), testing::Lt(kMostDocument + 50)))
        << "in bytes, of which each … has three";
    std::string cut = "\"buildIdentifier\":{\"value\":\"";
    for (std::size_t i = 1; i < kMostText; ++i) {
        cut += "\\\"";
    }
    EXPECT_THAT(text, HasSubstr(cut + "…\""));
    EXPECT_THAT(text, testing::ContainsRegex("\"modulesLeftOut\":[0-9]+.*\"portsLeftOut\":[0-9]+"));
    EXPECT_THAT(text, HasSubstr(R"("serialNumber":{"missing":"denied","source":"s","detail":"x y"})"));
    EXPECT_THAT(text,
                HasSubstr(R"({"kind":"bootEntry","name":"memory test","supported":false,"pending":false,)"
                          R"("status":50})"));
}

TEST(Details, PrintedShowValueReasonAndSourceSideBySide) {
    testing::internal::CaptureStdout();
    EXPECT_TRUE(PrintMachine(MachineFolder("laptop-with-dock")));
    tests::ExpectGolden("daemon/details/Print.txt", testing::internal::GetCapturedStdout());
}

}  // namespace
}  // namespace daemon_service
