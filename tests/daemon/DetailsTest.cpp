// The details document and what --print shows, of a machine with everything and of one with too much.

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

/// No two values are alike, so that none can stand in another's place.
MachineDetails Everything() {
    const auto value = [](const char16_t* text, const char* source) {
        return SourcedText{.Value = text, .Source = source, .Detail = "no detail beside a value"};
    };
    const auto none = [](Missing why, const char* source, const char* detail = "") {
        return SourcedText{.Value = {}, .Source = source, .Why = why, .Detail = detail};
    };
    return {
        .Kind = MachineKind::AllInOne,
        .Maker = value(u"Maker \"M\"", "smbios 1.4"),
        .ProductName = value(u"Näme \U0001F4BB", "smbios 1.5"),
        .ProductNumber = none(Missing::Placeholder, "smbios 1.19", "SKU\tNumber"),
        .SerialNumber = none(Missing::Denied, "sysfs class/dmi/id/product_serial", "Permission denied"),
        .Processor = value(u"Chip", "proc cpuinfo model name"),
        .Memory = value(u"16 GB (15.6 GB usable)", "smbios 17"),
        .OperatingSystem = none(Missing::NotReported, "os-release PRETTY_NAME"),
        .FirmwareVersion = value(u"U21 02.09", "smbios 0.5"),
        .SystemBoard = none(Missing::Damaged, "smbios 2"),
        .BuildIdentifier = none(Missing::Unknown, ""),
        .BiosPassword = {.Value = BiosCredential::OtherKind, .Source = "sysfs class/firmware-attributes"},
        .ProcessorCores = 4,
        .ProcessorThreads = 8,
        .InstalledBytes = std::uint64_t{16} << 30,
        .UsableBytes = 16'750'000'001,
        .MemoryModules = {{std::uint64_t{8} << 30, "DDR4", 3200, "DIMM 0"}, {{}, "", {}, "DIMM 1"}},
        .FirmwareVersionAlone = u"02.09",
        .FirmwareDate = u"2023-05-17",
        .FirmwareKind = "UEFI",
        .BiosPasswordKinds = {"bios-admin", "enhanced-bios-auth"},
        .TypeCPorts = {{.Name = "port0",
                        .PowerDelivery = true,
                        .Milliwatts = 15'000,
                        .Location = "left back",
                        .UsbStandards = {"USB 2.0", "USB4"},
                        .DataRole = "dual",
                        .PowerRole = "sink",
                        .PowerDeliveryRevision = "3.0",
                        .DisplayPortSupport = Support::Yes,
                        .ThunderboltSupport = Support::No,
                        .Usb4Support = Support::Unknown,
                        .SinkMilliwatts = 100'000,
                        .Partner = TypeCPartner{"hub", "audio", "1d5c", "5801", true},
                        .Source = "sysfs class/typec/port0"},
                       {.Name = "port1", .PowerDelivery = true, .Source = "smbios 8"}},
    };
}

TEST(Details, SayEverythingThatIsKnown) {
    const FirmwareRequest entry{.By = FirmwareRequest::Method::BootEntry, .Entry = "memory test"};
    const std::string text =
        platform::ToUtf8(DetailsDocument(Everything(), {}, {.Pending = true})) + "\n" +
        platform::ToUtf8(DetailsDocument({}, entry, {.Failure = ActionError::Status::NotSupported})) + "\n";
    tests::ExpectGolden("daemon/details/Everything.txt", tests::JsonLines(text));
}

TEST(Details, TooLongLoseTheEndsOfTextsAndOfListsAndSaySo) {
    MachineDetails machine = Everything();
    const std::u16string quotes(1'000, u'"');
    for (const DetailsField& field : kDetailsFields) {
        machine.*field.Text = {.Value = quotes, .Source = std::string(5'000, '\\')};
    }
    machine.TypeCPorts.resize(30, machine.TypeCPorts[0]);
    machine.MemoryModules.resize(2'000, machine.MemoryModules[0]);
    machine.BiosPasswordKinds.resize(3'000, std::string(90, 'k'));
    const std::u16string document = DetailsDocument(machine, {}, {});
    EXPECT_GT(document.size(), kMostDocument - 400);
    EXPECT_LT(document.size(), kMostDocument);
    std::string text = platform::ToUtf8(document);
    for (std::size_t at = 0; (at = text.find("\\\"\\\"", at)) != std::string::npos;) {
        text.erase(at, 2);
    }
    EXPECT_THAT(text, testing::HasSubstr("\"buildIdentifier\":{\"value\":\"\\\"…\""));
    EXPECT_THAT(text, testing::ContainsRegex("\"portsLeftOut\":[0-9]+}"));
    EXPECT_THAT(text, testing::HasSubstr("\"modulesLeftOut\":"));
    EXPECT_THAT(text, testing::HasSubstr("\"firmwareRequest\":{\"kind\":\"setup\",\"supported\":true"));
}

TEST(Details, OfTheMachinesAreAsTheirGoldenFilesSay) {
    for (const std::string& name : MachineNames()) {
        const RecordedMachine machine(name);
        MachineFiles files(machine.Root());
        tests::ExpectGolden(
            "machines/" + name + "/details.json",
            tests::JsonLines(platform::ToUtf8(DetailsDocument(ReadMachine(files), {}, {}))) + "\n");
    }
}

TEST(Details, PrintedShowValueReasonAndSourceSideBySide) {
    const RecordedMachine machine("desktop-with-placeholders");
    testing::internal::CaptureStdout();
    EXPECT_TRUE(PrintMachine(machine.Root()));
    tests::ExpectGolden("daemon/details/Print.txt", testing::internal::GetCapturedStdout());
}

}  // namespace
}  // namespace daemon_service
