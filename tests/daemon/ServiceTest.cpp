// kelvane-service as its clients and the service manager see it: a real process, a real socket.

#include <gmock/gmock.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "daemon/machine/ReadMachine.h"
#include "daemon/service/Details.h"
#include "platform/core/Text.h"
#include "service/DetailsClient.h"
#include "tests/daemon/ServiceProcess.h"
#include "tests/support/Golden.h"
#include "tests/support/RecordedMachine.h"

namespace daemon_service {
namespace {

using platform::rpc::NdrClientCall3;
using platform::rpc::Status;
using platform::rpc::test::Client;
using platform::rpc::test::EndpointScope;
using platform::rpc::test::RawClient;
using platform::rpc::test::StatusOf;
using testing::HasSubstr;
namespace procedure = Kelvane::procedure;

class Service : public testing::Test {
  protected:
    std::string Path(const char* name) const { return m_scope.Directory() + "/" + name; }
    void Write(const char* name, const std::string& text) const { std::ofstream(Path(name)) << text; }
    void Remove(const char* name) const { std::filesystem::remove(Path(name)); }

    EndpointScope m_scope;
};

TEST_F(Service, ServesTheFileThatStandsInAsItIsNow) {
    ServiceProcess service(
        {.Arguments = {"--system-information", Path("record"), "--usb-type-c", Path("record")}});
    Client client;
    client.Open();
    EXPECT_EQ(client.Read(), std::nullopt);
    for (const std::size_t length : {0, 1, 998, 999, 20000}) {
        Write("record", std::string(length, 'r'));
        EXPECT_EQ(client.Read(), std::u16string(length, u'r') + u'\0');
        EXPECT_EQ(client.Read(procedure::ReadUSBTypeCInfo), std::u16string(length, u'r') + u'\0');
    }
    Write("record", "\xC3\xA4<.^.>\xF0\x9F\x92\xBB\n");
    EXPECT_EQ(client.Read(), std::u16string(u"ä<.^.>\U0001F4BB") + u'\0');
    std::u16string json;
    EXPECT_EQ(Kelvane::DetailsClient().ReadDetails(json), platform::rpc::status::kUnknownInterface)
        << "the machine's details do not go with a file's record";
}

TEST_F(Service, ServesARecordedMachine) {
    RecordedMachine machine;
    BuildLaptop(machine);
    ServiceProcess service({.Arguments = {"--sysroot", machine.Root()}});
    Client client;
    client.Open();
    EXPECT_EQ(client.Read(), platform::FromUtf8(machine.SystemInformation()) + u'\0');
    EXPECT_EQ(client.Read(procedure::ReadUSBTypeCInfo), platform::FromUtf8(machine.UsbTypeC()) + u'\0');
    std::u16string json;
    EXPECT_EQ(Kelvane::DetailsClient().ReadDetails(json), 0U);
    MachineFiles files(machine.Root());
    EXPECT_EQ(json, DetailsDocument(ReadMachine(files), {}, ReadFirmwareFlag({})));
}

TEST_F(Service, ASecondInstanceIsRefusedAndTheFirstCanBeReached) {
    const std::string directory = Path("new/folder");
    setenv("KELVANE_RPC_DIRECTORY", directory.c_str(), 1);
    ServiceProcess first;
    using std::filesystem::perms;
    EXPECT_EQ(std::filesystem::status(directory).permissions(), perms{0755});
    EXPECT_EQ(std::filesystem::status(EndpointScope::Socket()).permissions(), perms{0666});
    ServiceProcess second({.ExpectReady = false});
    EXPECT_EQ(second.WaitForEnd(), 1);
    EXPECT_THAT(second.Log(), HasSubstr("already listens"));
    Client client;
    client.Open();
    EXPECT_TRUE(client.Read());
    first.Signal(SIGTERM);
    EXPECT_EQ(first.WaitForEnd(), 0);
    EXPECT_FALSE(std::filesystem::exists(EndpointScope::Socket()));
}

TEST_F(Service, TakesOverTheSocketOfAKilledInstance) {
    {
        ServiceProcess killed;
        killed.Signal(SIGKILL);
        killed.WaitForEnd();
    }
    ASSERT_TRUE(std::filesystem::exists(EndpointScope::Socket()));
    ServiceProcess next;
    Client client;
    client.Open();
    EXPECT_TRUE(client.Read());
}

TEST_F(Service, TextsOfTheUnnamedProceduresComeBack) {
    ServiceProcess service;
    Client client;
    client.Open();
    EXPECT_EQ(client.Exchange(u"echo"), std::u16string(u"echo") + u'\0');
    EXPECT_EQ(client.Exchange(std::nullopt), std::nullopt);
    static std::u16string called;
    EXPECT_EQ(client.Command(7, u"text", [](std::int32_t, const char16_t* text) { called = text; }),
              std::u16string(u"text") + u'\0');
    EXPECT_EQ(called, u"text");
    EXPECT_EQ(client.Read(procedure::ReadTextProc7), std::nullopt);
}

TEST_F(Service, OtherUsersWithoutASessionAreRefusedWithALine) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "needs root to become another user";
    }
    std::filesystem::permissions(m_scope.Directory(), std::filesystem::perms::all);
    ServiceProcess service;
    const int status = AsUser(65534, [] {
        Client client;
        return static_cast<int>(StatusOf([&client] { client.Open(); }));
    });
    EXPECT_EQ(status, 5);
    EXPECT_THAT(service.Log(), HasSubstr("access denied: user 65534"));
}

constexpr uid_t kUser = 65534;

/// Hides this machine's sessions from this process and its children, behind one of kUser's. False where that
/// takes more rights than there are.
bool PretendSessions() {
    if (unshare(CLONE_NEWNS) != 0 || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("tmpfs", "/run", "tmpfs", 0, "mode=755") != 0) {
        return false;
    }
    umask(022);
    for (const char* folder : {"system", "seats", "users", "sessions"}) {
        std::filesystem::create_directories(std::string("/run/systemd/") + folder);
    }
    return true;
}

/// The files that the session manager keeps of kUser's one session, in its own words. `seat` may be empty.
void WriteSession(const std::string& seat, const std::string& properties, uid_t seatOwner = kUser) {
    std::filesystem::remove_all("/run/systemd/seats");
    std::filesystem::create_directories("/run/systemd/seats");
    std::ofstream("/run/systemd/users/" + std::to_string(kUser)) << "ACTIVE_SESSIONS=1\n";
    std::ofstream("/run/systemd/sessions/1") << "UID=" << kUser << '\n' << properties;
    if (!seat.empty()) {
        std::ofstream("/run/systemd/seats/" + seat) << "ACTIVE=1\nACTIVE_UID=" << seatOwner << '\n';
    }
}

constexpr auto kAtTheMachine = "ACTIVE=1\nSTATE=active\nREMOTE=0\nTYPE=wayland\nCLASS=user\n";

TEST_F(Service, AUserWhoSwitchedAwayActsNoMore) {
    if (!PretendSessions()) {
        GTEST_SKIP() << "needs root and a mount namespace";
    }
    WriteSession("seat0", kAtTheMachine);
    for (const char* folder : {"/run/systemd/seats", "/run/systemd/sessions/1"}) {
        ASSERT_EQ(chown(folder, kUser, kUser), 0);
    }
    std::filesystem::permissions(m_scope.Directory(), std::filesystem::perms::all);
    Write("service.conf", "usb-type-c-tool = /nonexistent\n");
    ServiceProcess service({.Arguments = {"--configuration", Path("service.conf")}});
    const int status = AsUser(kUser, [] {
        Client client;
        client.Open();
        const auto act = [&client](auto procedure) {
            return StatusOf([&] { NdrClientCall3(Kelvane::kHotkeyRpc, procedure, {client.Context}); });
        };
        Kelvane::DetailsClient details;
        const auto cancel = [&details] { return details.CancelFirmwareRequest(); };
        const bool mayAtFirst = act(procedure::StartUSBC) != 5 && cancel() != 5;
        std::filesystem::remove("/run/systemd/seats/seat0");
        return mayAtFirst && act(procedure::StartUSBC) == 5 && cancel() == 5 && client.Read() ? 0 : 1;
    });
    EXPECT_EQ(status, 0) << service.Log();
}

// A line of the script: the user's seat, or the owner of it behind "="; the session's properties; the
// configuration. ";" ends a line of the last two.
TEST_F(Service, AnswersWhoeverSitsAtTheMachineAndWhomTheAdministratorNames) {
    if (!PretendSessions()) {
        GTEST_SKIP() << "needs root and a mount namespace";
    }
    std::filesystem::permissions(m_scope.Directory(), std::filesystem::perms::all);
    ServiceProcess service({.Arguments = {"--configuration", Path("service.conf")}});
    tests::ExpectScripts("daemon/callers", [&] {
        return [&](std::string line) -> std::string {
            if (line.starts_with('#')) {
                return "";
            }
            std::ranges::replace(line, ';', '\n');
            std::istringstream parts(line);
            std::string seat, properties, configuration;
            std::getline(std::getline(std::getline(parts, seat, '|'), properties, '|'), configuration, '|');
            const bool isOthers = seat.ends_with('=');
            WriteSession(isOthers ? seat.substr(0, seat.size() - 1) : seat, properties + "\n",
                         isOthers ? kUser - 1 : kUser);
            Write("service.conf", configuration);
            const auto open = [] {
                Client client;
                return static_cast<int>(StatusOf([&client] { client.Open(); }));
            };
            return "status " + std::to_string(AsUser(kUser, open, {getgrnam("daemon")->gr_gid})) + "\n";
        };
    });
    EXPECT_THAT(service.Log(), HasSubstr("line 2: answer-remote-desktops is yes or no"));
}

TEST_F(Service, UnderTheServiceManager) {
    // The first client is there before the service, which is idle only after it has gone.
    std::optional<RawClient> first;
    ServiceProcess service({.Arguments = {"--idle-exit", "1"},
                            .Environment = {"WATCHDOG_USEC=200000"},
                            .FirstClient = [&first] { first.emplace(); }});
    {
        Client client;
        client.Open();
        EXPECT_TRUE(client.Read());
        first.reset();
        while (service.NextNotification() != "WATCHDOG=1") {
        }
    }
    EXPECT_EQ(service.WaitForEnd(), 0);
    EXPECT_THAT(service.Log(), HasSubstr("idle"));
    EXPECT_TRUE(std::filesystem::exists(EndpointScope::Socket())) << "the socket is the service manager's";
}

TEST_F(Service, ContextsOfKilledClientsRunDown) {
    ServiceProcess service({.Environment = {"WATCHDOG_USEC=100000"}});
    std::vector<pid_t> clients(8);
    for (pid_t& child : clients) {
        child = fork();
        if (child == 0) {
            // Nothing but the signal may end it, and no exception reach the parent's objects.
            [&]() noexcept {
                Client client;
                client.Open();
                while (true) {
                    // Refused when there are too many in a second.
                    StatusOf([&client] { client.Read(); });
                }
            }();
        }
    }
    while (service.NextNotification() != "STATUS=8 connections, 8 open contexts") {
    }
    for (const pid_t child : clients) {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }
    while (service.NextNotification() != "STATUS=0 connections, 0 open contexts") {
    }
}

TEST_F(Service, StartsAToolOfTheCallersOwn) {
    const std::string pipe = Path("started");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    Write("source", "tool ran");
    Write("service.conf", "system-information-tool = /bin/cp \"" + Path("source") + "\" \"" + pipe + "\"\n");
    ServiceProcess service({.Arguments = {"--configuration", Path("service.conf")}});
    Client client;
    client.Open();
    NdrClientCall3(Kelvane::kHotkeyRpc, procedure::StartMSInfoApp, {client.Context});
    std::string text;
    std::getline(std::ifstream(pipe), text);
    EXPECT_EQ(text, "tool ran");

    // A configuration that others can write could start anything: nothing is started.
    std::filesystem::permissions(Path("service.conf"), std::filesystem::perms::all);
    EXPECT_EQ(
        StatusOf([&client] { NdrClientCall3(Kelvane::kHotkeyRpc, procedure::StartUSBC, {client.Context}); }),
        1610u);
    EXPECT_THAT(service.Log(), HasSubstr("others than root can change it"));
}

}  // namespace
}  // namespace daemon_service
