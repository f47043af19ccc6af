// The actions against stand-ins of the session manager and the service manager on a private bus, and the
// configuration that decides about them.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "daemon/actions/ActionError.h"
#include "daemon/actions/FirmwareFlag.h"
#include "daemon/actions/SystemBus.h"
#include "daemon/actions/ToolStarter.h"
#include "platform/rpc/Socket.h"
#include "tests/daemon/StandInBus.h"
#include "tests/support/RpcSupport.h"

namespace daemon_service {
namespace {

using Status = ActionError::Status;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// The status that the request fails with; 0 if it does not.
std::uint32_t StatusOf(const std::function<void()>& action) {
    try {
        action();
        return 0;
    } catch (const ActionError& error) {
        return static_cast<std::uint32_t>(error.Code());
    }
}

/// What setting the flag fails with, which reading its state must report unless only writing shows it.
std::uint32_t FlagStatus(const FirmwareRequest& request = {}, bool onlyByWriting = false) {
    const auto status = StatusOf([&request] { SetFirmwareFlag(request); });
    const auto state = ReadFirmwareFlag(request);
    EXPECT_EQ(onlyByWriting ? 0 : status, state.Failure ? static_cast<std::uint32_t>(*state.Failure) : 0);
    EXPECT_EQ(state.Pending, status == 0);
    return status;
}

TEST(FirmwareFlag, IsSetOnceAndReadBack) {
    StandInBus bus;
    const auto pending = [&](bool expected) {
        EXPECT_EQ(ReadFirmwareFlag({}).Pending, expected);
        EXPECT_EQ(ReadFirmwareFlag({}).Failure, std::nullopt);
        return bus.State.With([](BusState& state) { return state.SetupRequested; }) == expected;
    };
    CancelFirmwareFlag({});
    EXPECT_TRUE(pending(false));
    EXPECT_THAT(SetFirmwareFlag({}), HasSubstr("opens at the next start"));
    EXPECT_THAT(SetFirmwareFlag({}), HasSubstr("opens at the next start"));
    EXPECT_TRUE(pending(true));
    CancelFirmwareFlag({});
    CancelFirmwareFlag({});
    EXPECT_TRUE(pending(false));
    bus.State.With([](BusState& state) {
        EXPECT_THAT(state.Calls,
                    ElementsAre("SetRebootToFirmwareSetup true", "SetRebootToFirmwareSetup false"))
            << "nothing is written twice";
        state = {.SetupRequested = true, .Forgets = true};
    });
    EXPECT_EQ(StatusOf([] { CancelFirmwareFlag({}); }), static_cast<std::uint32_t>(Status::WriteFault));
}

struct Failure {
    const char* fault;
    std::function<void(BusState&)> arrange;
    Status wanted;
};

TEST(FirmwareFlag, TellsFailuresApartAndWritesNothing) {
    StandInBus bus;
    const Failure failures[] = {
        {"firmware cannot", [](BusState& state) { state.CanSetup = "na"; }, Status::NotSupported},
        {"policy says no", [](BusState& state) { state.CanSetup = "no"; }, Status::AccessDenied},
        {"policy wants a password", [](BusState& state) { state.CanSetup = "challenge"; },
         Status::AccessDenied},
        {"an answer of another version", [](BusState& state) { state.CanSetup = "maybe"; }, Status::Failed},
        {"no room for the variable", [](BusState& state) { state.FailWith = "System.Error.ENOSPC"; },
         Status::DiskFull},
        {"denied after all",
         [](BusState& state) { state.FailWith = "org.freedesktop.DBus.Error.AccessDenied"; },
         Status::AccessDenied},
        {"anything else", [](BusState& state) { state.FailWith = "org.example.Odd"; }, Status::Failed},
    };
    for (const Failure& failure : failures) {
        bus.State.With([&failure](BusState& state) {
            state = {};
            failure.arrange(state);
        });
        const bool onlyByWriting = bus.State.With([](BusState& state) { return !state.FailWith.empty(); });
        EXPECT_EQ(FlagStatus({}, onlyByWriting), static_cast<std::uint32_t>(failure.wanted)) << failure.fault;
        bus.State.With([](BusState& state) { EXPECT_THAT(state.Calls, IsEmpty()); });
    }
    bus.State.With([](BusState& state) { state = {.Forgets = true}; });
    EXPECT_EQ(FlagStatus({}, true), static_cast<std::uint32_t>(Status::WriteFault));
    EXPECT_EQ(FlagStatus({.By = FirmwareRequest::Method::Off, .Entry = {}}),
              static_cast<std::uint32_t>(Status::AccessDenied));
}

TEST(FirmwareFlag, WithoutASessionManagerOrABus) {
    {
        StandInBus bus({"org.freedesktop.systemd1"});
        EXPECT_EQ(FlagStatus(), static_cast<std::uint32_t>(Status::NotRunning));
    }
    setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus", 1);
    EXPECT_EQ(FlagStatus(), static_cast<std::uint32_t>(Status::NotRunning));
}

TEST(SystemBus, GivesUpABusThatAcceptsAndStaysSilent) {
    const platform::rpc::test::EndpointScope scope;
    const platform::rpc::ListeningSocket silent(scope.Socket());
    setenv("DBUS_SYSTEM_BUS_ADDRESS", ("unix:path=" + scope.Socket()).c_str(), 1);
    EXPECT_EQ(StatusOf([] { SystemBus(std::chrono::milliseconds(50)); }),
              static_cast<std::uint32_t>(Status::TimedOut));
}

TEST(FirmwareFlag, BootEntryMustExist) {
    StandInBus bus;
    const auto entry = [](const char* name) {
        return FirmwareRequest{.By = FirmwareRequest::Method::BootEntry, .Entry = name};
    };
    EXPECT_THAT(SetFirmwareFlag(entry("memory-test.conf")), HasSubstr("\"memory-test.conf\" starts"));
    EXPECT_TRUE(ReadFirmwareFlag(entry("memory-test.conf")).Pending);
    EXPECT_EQ(FlagStatus(entry("other.conf")), static_cast<std::uint32_t>(Status::NotFound));
    CancelFirmwareFlag(entry("other.conf"));
    CancelFirmwareFlag(entry("memory-test.conf"));
    bus.State.With([](BusState& state) {
        EXPECT_THAT(state.Calls, ElementsAre("SetRebootToBootLoaderEntry memory-test.conf",
                                             "SetRebootToBootLoaderEntry "));
        state.CanEntry = "na";
    });
    EXPECT_EQ(FlagStatus(entry("memory-test.conf")), static_cast<std::uint32_t>(Status::NotSupported));
}

TEST(ToolStarter, AsksTheServiceManagerForTheCallersUserOnceASecond) {
    StandInBus bus;
    ToolStarter::Clock::time_point now{};
    ToolStarter starter(true, [&now] { return now; });
    Configuration configuration;
    configuration.SystemInformationTool = {"/bin/true"};
    const auto start = [&](uid_t user) {
        return StatusOf([&] { starter.Start(Tool::SystemInformation, user, configuration); });
    };
    EXPECT_EQ(start(1000), 0u);
    EXPECT_EQ(start(1000), static_cast<std::uint32_t>(Status::Busy));
    EXPECT_EQ(start(1001), 0u) << "another user's start is another matter";
    now += ToolStarter::kPause;
    EXPECT_EQ(start(1000), 0u);
    bus.State.With([](BusState& state) {
        EXPECT_THAT(state.Calls, ElementsAre("StartUnit kelvane-system-information@1000.service",
                                             "StartUnit kelvane-system-information@1001.service",
                                             "StartUnit kelvane-system-information@1000.service"));
        state.FailWith = "org.freedesktop.systemd1.NoSuchUnit";
    });
    EXPECT_EQ(start(1002), static_cast<std::uint32_t>(Status::NotFound));
    bus.State.With([](BusState& state) { state = {.JobResult = "failed"}; });
    EXPECT_EQ(start(1004), static_cast<std::uint32_t>(Status::Failed)) << "begun, and not done";

    bus.State.With([](BusState& state) { state = {}; });
    configuration.SystemInformationTool = {"/bin/true/tool"};
    EXPECT_EQ(start(1003), static_cast<std::uint32_t>(Status::NotFound));
    bus.State.With([](BusState& state) { EXPECT_THAT(state.Calls, IsEmpty()) << "no such tool"; });
}

TEST(Configuration, IsReadAsWrittenOrRefusedWithItsLine) {
    const Configuration configuration = ParseConfiguration(
        "# comment\n\n system-information-tool = /opt/x \"two words\" \"\" $HOME;ls\n"
        "firmware-request = boot-entry  memory test.conf \n");
    EXPECT_THAT(*configuration.SystemInformationTool, ElementsAre("/opt/x", "two words", "", "$HOME;ls"));
    EXPECT_EQ(configuration.Firmware.Entry, "memory test.conf");

    for (const auto& [text, wanted] :
         {std::pair("\nusb-type-c-tool = usbview", "line 2: a tool is named by its absolute"),
          std::pair("usb-type-c-tool = /x \"y", "not closed"),
          std::pair("usb-type-c-tool =", "absolute path"),
          std::pair("firmware-request = boot-entry ", "firmware-request is"),
          std::pair("colour = red", "unknown key \"colour\""),
          std::pair("rubbish", "expected \"key = value\"")}) {
        try {
            ParseConfiguration(text);
            ADD_FAILURE() << text;
        } catch (const ConfigurationError& error) {
            EXPECT_THAT(error.what(), HasSubstr(wanted));
        }
    }
}

TEST(Configuration, IsFollowedWholeAndOnlyIfOthersCannotChangeIt) {
    const platform::rpc::test::EndpointScope scope;
    const std::string path = scope.Directory() + "/service.conf";
    std::ofstream(path) << std::string(60'000, '#') << "\nfirmware-request = off\n";
    const uid_t owner = geteuid() != 0 ? geteuid() : 65534;
    ASSERT_EQ(chown(path.c_str(), owner, static_cast<gid_t>(-1)), 0);
    EXPECT_EQ(LoadConfiguration(path, owner).Firmware.By, FirmwareRequest::Method::Off);
    EXPECT_THROW(LoadConfiguration(path, 0), ConfigurationError);
    ASSERT_EQ(chmod(path.c_str(), 0664), 0);
    EXPECT_THROW(LoadConfiguration(path, owner), ConfigurationError);
    ASSERT_EQ(chmod(path.c_str(), 0644), 0);
    std::ofstream(path, std::ios::app) << std::string(10'000, '\n');
    EXPECT_THROW(LoadConfiguration(path, owner), ConfigurationError) << "too long";
}

TEST(Configuration, WithoutOneTheFirstInstalledToolIsTaken) {
    const auto none = [](const std::string&) { return false; };
    const auto second = [](const std::string& path) { return path == "/usr/bin/hardinfo"; };
    EXPECT_EQ(Configuration{}.ToolCommand(Tool::UsbTypeC, none), std::nullopt);
    EXPECT_THAT(*Configuration{}.ToolCommand(Tool::SystemInformation, second),
                ElementsAre("/usr/bin/hardinfo"));
}

}  // namespace
}  // namespace daemon_service
