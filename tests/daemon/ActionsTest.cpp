// Plays the scripts of the actions, against stand-ins of the session manager and the service manager on a
// private bus, with the configuration that decides about them; and what no script can set up.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <map>

#include "daemon/actions/ActionError.h"
#include "daemon/actions/FirmwareFlag.h"
#include "daemon/actions/SystemBus.h"
#include "daemon/actions/ToolStarter.h"
#include "platform/rpc/Socket.h"
#include "tests/daemon/StandInBus.h"
#include "tests/support/Golden.h"
#include "tests/support/RpcSupport.h"

namespace daemon_service {
namespace {

/// What comes of an action: its sentence, if any, or its failure; and the calls that the managers received.
class Scenario {
  public:
    std::string Play(const std::string& line) {
        const auto end = std::min(line.find(' '), line.size());
        const auto verb = line.substr(0, end);
        const auto rest = line.substr(std::min(end + 1, line.size()));
        std::string text;
        try {
            text = Do(verb, rest);
        } catch (const ActionError& error) {
            text = std::to_string(static_cast<int>(error.Code())) + ": " + error.what() + "\n";
        } catch (const ConfigurationError& error) {
            text = std::string("refused: ") + error.what() + "\n";
        }
        if (m_bus) {
            for (const auto& call :
                 m_bus->State.With([](BusState& state) { return std::exchange(state.Calls, {}); })) {
                text += "called " + call + "\n";
            }
        }
        return text;
    }

  private:
    std::string Do(const std::string& verb, const std::string& rest) {
        if (verb == "bus") {
            SetUpBus(rest);
        } else if (verb == "configuration") {
            auto text = rest;
            std::ranges::replace(text, '|', '\n');
            m_configuration = ParseConfiguration(text);
        } else if (verb == "set") {
            return SetFirmwareFlag(m_configuration.Firmware) + "\n";
        } else if (verb == "cancel") {
            CancelFirmwareFlag(m_configuration.Firmware);
        } else if (verb == "read") {
            const auto state = ReadFirmwareFlag(m_configuration.Firmware);
            return std::string(state.Pending ? "pending" : "not pending") +
                   (state.Failure ? ", cannot be set: " + std::to_string(static_cast<int>(*state.Failure))
                                  : "") +
                   "\n";
        } else if (verb == "start") {
            m_starter.Start(Tool::SystemInformation, static_cast<uid_t>(std::stoul(rest)), m_configuration);
        } else if (verb == "later") {
            m_now += ToolStarter::kPause;
        } else if (verb == "tools") {
            return Tools(rest);
        } else {
            ADD_FAILURE() << verb;
        }
        return "";
    }

    /// The managers that are there, and how they behave: "none", "no-login", or what is unlike other
    /// managers: a text of BusState with its value, or its flags.
    void SetUpBus(const std::string& fields) {
        if (fields == "none") {
            m_bus.reset();
            setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus", 1);
            return;
        }
        fields == "no-login" ? m_bus.emplace(std::vector<std::string>{"org.freedesktop.systemd1"})
                             : m_bus.emplace();
        static const std::map<std::string, std::string BusState::*> kTexts = {
            {"CanSetup", &BusState::CanSetup},
            {"CanEntry", &BusState::CanEntry},
            {"FailWith", &BusState::FailWith},
            {"JobResult", &BusState::JobResult}};
        BusState state{.SetupRequested = fields.starts_with("SetupRequested"),
                       .Forgets = fields.ends_with("Forgets")};
        if (const auto end = fields.find('='); end != fields.npos) {
            state.*kTexts.at(fields.substr(0, end)) = fields.substr(end + 1);
        }
        m_bus->State.With([&state](BusState& now) { now = state; });
    }

    /// Their commands, where only the program `installed` is.
    std::string Tools(const std::string& installed) const {
        std::string text;
        for (const auto tool : {Tool::SystemInformation, Tool::UsbTypeC}) {
            text += std::string(ToolName(tool)) + ":";
            const auto isInstalled = [&](const std::string& path) { return path == installed; };
            for (const auto& word : m_configuration.ToolCommand(tool, isInstalled).value_or(Command())) {
                text += " \"" + word + "\"";
            }
            text += "\n";
        }
        return text;
    }

    std::optional<StandInBus> m_bus;
    Configuration m_configuration;
    ToolStarter::Clock::time_point m_now{};
    ToolStarter m_starter{true, [this] { return m_now; }};
};

TEST(Actions, EndAsTheirScriptsSay) {
    tests::ExpectScripts("daemon/actions", [] {
        return [scenario = std::make_shared<Scenario>()](const std::string& line) {
            return scenario->Play(line);
        };
    });
}

TEST(SystemBus, GivesUpABusThatAcceptsAndStaysSilent) {
    const platform::rpc::test::EndpointScope scope;
    const platform::rpc::ListeningSocket silent(scope.Socket());
    setenv("DBUS_SYSTEM_BUS_ADDRESS", ("unix:path=" + scope.Socket()).c_str(), 1);
    try {
        const SystemBus bus(std::chrono::milliseconds(50));
        ADD_FAILURE() << "has connected";
    } catch (const ActionError& error) {
        EXPECT_EQ(error.Code(), ActionError::Status::TimedOut);
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

}  // namespace
}  // namespace daemon_service
