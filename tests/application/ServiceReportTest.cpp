// What is said when the service does not give its data.

#include "app/ServiceReport.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>

#include "app/TextOutput.h"
#include "pages/ServiceMessage.h"
#include "platform/core/UserName.h"
#include "platform/tasks/task.h"
#include "tests/application/ApplicationTest.h"
#include "tests/support/Golden.h"
#include "viewmodel/MainViewModel.h"

namespace Kelvane {

namespace {

using platform::rpc::RpcException;
using platform::rpc::ServerCall;
using platform::rpc::ServerProcedure;

/// A service that fails, by what one of its procedures does.
struct FailingService {
    const char* name;
    unsigned procedure;
    ServerProcedure does;
    std::vector<std::string> words = {};

    friend void PrintTo(const FailingService& service, std::ostream* out) { *out << service.name; }
};

class ServiceReportTest : public ApplicationTest {
  protected:
    ServiceReportTest() { m_systemInformation = Record(Letters(10)); }

    /// Runs the application, and compares the outcome, and what standard error says of it, with a file.
    void ExpectReport(const std::string& name) {
        std::string report;
        Run({[] { platform::create_task(AwaitDetails); },
             [&] { report = ReportMissingData() ? "complete\n" : "incomplete\n"; },
             [&] { report += tests::JsonLines(MachineAs(OutputFormat::Json)); }});
        // Whoever runs the test.
        report += m_errors;
        const auto user = platform::ToUtf8(platform::CurrentUserName());
        for (auto at = report.find(user); at != std::string::npos; at = report.find(user, at)) {
            report.replace(at, user.size(), "USER");
        }
        tests::ExpectGolden("application/reports/" + name + ".txt", report);
    }
};

class FailingServiceTest : public ServiceReportTest, public testing::WithParamInterface<FailingService> {};

TEST_P(FailingServiceTest, IsReportedWithItsReasonAndTheWayOut) {
    m_options.Words = GetParam().words;
    StartService({{GetParam().procedure, GetParam().does}});
    ExpectReport(GetParam().name);
}

ServerProcedure Fault(platform::rpc::Status status) {
    return [status](ServerCall&) { throw RpcException(status); };
}

INSTANTIATE_TEST_SUITE_P(
    Golden, FailingServiceTest,
    testing::Values(
        FailingService{"Complete", procedure::StartUSBC, Fault(1)},
        FailingService{"OtherVersion", procedure::OpenContext, Fault(0x1C010003)},
        FailingService{"OutOfMemory", procedure::OpenContext, Fault(platform::rpc::fault::kRemoteNoMemory)},
        FailingService{"TooBusyForACall", procedure::ReadSysInfo,
                       Fault(platform::rpc::fault::kServerTooBusy)},
        FailingService{"Crash", procedure::ReadSysInfo, [](ServerCall&) { throw std::logic_error(""); }},
        FailingService{"UnknownFault", procedure::ReadSysInfo, Fault(0xC0000005)},
        FailingService{"NoRecord", procedure::ReadSysInfo, [](ServerCall&) {}},
        FailingService{"LengthBeyondTheArray", procedure::ReadSysInfo,
                       [](ServerCall& call) { call.SetRawText(0, 9, u"abc"); }},
        FailingService{"NoTerminatingZero", procedure::ReadSysInfo,
                       [](ServerCall& call) { call.SetRawText(0, 3, u"abc"); }},
        FailingService{"TooLong", procedure::ReadSysInfo,
                       [](ServerCall& call) { call.SetText(0, std::u16string(999, u'x')); }},
        FailingService{"TooLongForTheLink", procedure::ReadSysInfo,
                       [](ServerCall& call) { call.SetText(0, std::u16string(9 << 20, u'x')); }},
        FailingService{"TooFewFields", procedure::ReadSysInfo,
                       [](ServerCall& call) { call.SetText(0, u"a,b"); }},
        FailingService{"UsbTypeCOnly", procedure::ReadUSBTypeCInfo, [](ServerCall&) {}},
        FailingService{"UsbTypeCTooLong", procedure::ReadUSBTypeCInfo,
                       [](ServerCall& call) { call.SetText(0, std::u16string(499, u'x')); }},
        FailingService{"HotkeyOtherVersion", procedure::OpenContext, Fault(0x1C010003), {"hot", "key"}}),
    [](const auto& service) { return std::string(service.param.name); });

TEST_F(ServiceReportTest, GoldenNotRunning) {
    ExpectReport("NotRunning");
}

TEST_F(ServiceReportTest, GoldenAccessDenied) {
    StartService({}, {.Accept = [](const auto&) { return false; }});
    ExpectReport("AccessDenied");
}

TEST_F(ServiceReportTest, GoldenTooManyConnections) {
    // As many again would have to be refused at once before one is closed without an answer.
    std::array<platform::rpc::test::Client, 8> others;
    StartService({}, {.MaxConnectionsPerUser = others.size()});
    std::ranges::for_each(others, &platform::rpc::test::Client::Open);
    ExpectReport("TooManyConnections");
}

TEST_F(ServiceReportTest, GoldenListenerOfAnotherUser) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can listen as another user";
    }
    chmod(m_endpoints.Directory().c_str(), 0777);
    ASSERT_EQ(seteuid(65534), 0);
    StartService();
    ASSERT_EQ(seteuid(0), 0);
    ExpectReport("ListenerOfAnotherUser");
}

TEST_F(ServiceReportTest, EveryStatusHasTexts) {
    Run({[] {
        for (std::int64_t status = -1; status < 2000; ++status) {
            for (const auto* const listener : {u"", u"L"}) {
                const auto [title, message] = MessageOf({status, listener, u"U"}, PackageTexts());
                EXPECT_TRUE(!title.empty() && !message.empty() &&
                            (title + message).find_first_of(u"{}") == std::u16string::npos)
                    << status;
            }
        }
    }});
}

TEST_F(ServiceReportTest, AServiceThatDoesNotAnswerIsWaitedForAndGivenUp) {
    std::optional<platform::rpc::ListeningSocket> stuck;
    Run({[&] {
        stuck.emplace(platform::rpc::test::EndpointScope::Socket());
        platform::create_task([] { MainViewModel::GetInstance()->ReadSysInfoDetailsAsync(); });
        auto& loop = m_world->Loop();
        WhenServiceAnswered(loop, std::chrono::seconds(3), [](bool answered) {
            std::fputs(answered ? "answered\n" : "given up\n", stderr);
        });
        // Each comes after what was asked for at the same time before.
        loop.PostAfter(std::chrono::seconds(2), [&] {
            std::fputs("1 s later\n", stderr);
            m_clock.Advance(std::chrono::seconds(1));
        });
        loop.PostAfter(std::chrono::seconds(3), [&] { m_world->Window().RequestClose(); });
        m_clock.Advance(std::chrono::seconds(2));
    }});
    EXPECT_EQ(m_errors,
              "kelvane: waiting for the system service to answer, at most 3 s (see --timeout)\n1 s later\n"
              "kelvane: The system service does not answer. Restart it ('systemctl restart kelvane-service') "
              "and try "
              "again.\ngiven up\n");
}

}  // namespace

}  // namespace Kelvane
