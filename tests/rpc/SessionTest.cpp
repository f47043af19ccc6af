// Client and server together, over real sockets.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <future>

#include "platform/core/Clock.h"
#include "platform/core/Exception.h"
#include "platform/tasks/ThreadPool.h"
#include "tests/rpc/Support.h"

namespace platform::rpc::test {

namespace {

using testing::Optional;
namespace procedure = Kelvane::procedure;

class SessionTest : public testing::Test {
  protected:
    EndpointScope m_endpoints;
};

TEST_F(SessionTest, AWholeSessionInEachTransferSyntax) {
    for (const auto* interface : kBothSyntaxes) {
        TestService service;
        Client client(*interface);
        client.Open();
        EXPECT_THAT(client.Read(), Optional(std::u16string(u"AB\0", 3)));
        service.Record.reset();
        EXPECT_EQ(client.Read(procedure::ReadUSBTypeCInfo), std::nullopt);
        EXPECT_THAT(client.Exchange(u"CDE"), Optional(std::u16string(u"CDE")));
        EXPECT_THAT(client.Exchange(u""), Optional(std::u16string()));
        EXPECT_EQ(client.Exchange(std::nullopt), std::nullopt);
        EXPECT_EQ(service.Server->OpenContexts(), 1U);
        client.Close();
        EXPECT_EQ(client.Context, nullptr);
        EXPECT_EQ(service.Server->OpenContexts(), 0U);
    }
}

TEST_F(SessionTest, LongTextsGoInFragmentsBothWaysUpToTheLimit) {
    const std::u16string text(50'000, u'x');
    TestService service({}, {.MaxRequestBytes = 2 * text.size() + 100});
    for (const auto* interface : kBothSyntaxes) {
        Client client(*interface);
        client.Open();
        EXPECT_THAT(client.Exchange(text), Optional(text));
        EXPECT_EQ(StatusOf([&] { client.Exchange(text + text); }), status::kServerOutOfMemory);
        EXPECT_THAT(client.Exchange(text), Optional(text)) << "the connection stays usable";
    }
}

std::u16string g_called;

TEST_F(SessionTest, TheServiceCallsBackDuringACall) {
    TestService service;
    for (const auto* interface : kBothSyntaxes) {
        Client client(*interface);
        client.Open();
        g_called.clear();
        const auto record = [](std::int32_t code, const char16_t* text) {
            g_called = std::u16string(text) + char16_t(u'0' + code);
        };
        EXPECT_THAT(client.Command(7, u"code ", record), Optional(std::u16string(u"done\0", 5)));
        EXPECT_EQ(g_called, u"code 7");
        EXPECT_TRUE(client.Command(7, u"", nullptr));
        EXPECT_TRUE(client.Command(7, u"", [](std::int32_t, const char16_t*) { throw std::bad_alloc(); }));
        EXPECT_EQ(g_called, u"code 7");
    }
}

Client* g_client = nullptr;

TEST_F(SessionTest, ACallbackCannotCallOnItsOwnBinding) {
    TestService service;
    Client client;
    client.Open();
    g_client = &client;
    static Status nested = 0;
    client.Command(1, u"",
                   [](std::int32_t, const char16_t*) { nested = StatusOf([] { g_client->Read(); }); });
    EXPECT_EQ(nested, status::kCallInProgress);
}

TEST_F(SessionTest, FailuresOfProceduresReachTheClientAsStatus) {
    std::function<void(ServerCall&)> body;
    TestService service({{procedure::ReadSysInfo, [&](ServerCall& call) { body(call); }}});
    Client client;
    client.Open();
    const struct {
        const char* Name;
        std::function<void(ServerCall&)> Body;
        Status Expected;
    } rows[] = {
        {"plain code", [](auto&) { throw RpcException(4242); }, 4242},
        {"mapped code", [](auto&) { throw RpcException(0x1C000001); }, 1767},
        {"no memory", [](auto&) { throw std::bad_alloc(); }, status::kServerOutOfMemory},
        {"any other failure", [](auto&) { throw std::out_of_range("x"); }, status::kCallFailed},
        {"length above the text", [](auto& call) { call.SetRawText(0, 4, u"abc"); }, status::kInvalidBound},
        {"negative length", [](auto& call) { call.SetRawText(0, -1, u"abc"); }, status::kInvalidBound},
        {"callback outside of its call", [](auto& call) { call.InvokeCallback(0, u"", 0); }, status::kOk},
        {"nothing set", [](auto&) {}, status::kOk},
    };
    for (const auto& row : rows) {
        body = row.Body;
        EXPECT_EQ(StatusOf([&] { client.Read(); }), row.Expected) << row.Name;
    }
}

TEST_F(SessionTest, ReferencesThatAreNullAreRefusedBeforeAnythingIsSent) {
    Client client;  // nobody listens
    std::int32_t length = 0;
    char16_t* text = nullptr;
    const auto call = [&](unsigned number, std::initializer_list<RpcArgument> arguments) {
        return StatusOf([&] { NdrClientCall3(Kelvane::kHotkeyRpc, number, arguments); });
    };
    EXPECT_EQ(call(0, {RPC_BINDING_HANDLE{}, &client.Context}), status::kInvalidBinding);
    EXPECT_EQ(call(0, {client.Binding, static_cast<RPC_CONTEXT_HANDLE*>(nullptr)}),
              status::kNullReferencePointer);
    EXPECT_EQ(call(1, {&client.Context}), status::kInNullContext);
    EXPECT_EQ(call(4, {client.Context, &length, &text}), status::kInNullContext);
    EXPECT_EQ(call(13, {client.Context}), status::kProcedureOutOfRange);
    EXPECT_EQ(call(0, {client.Binding, &client.Context}), status::kServerUnavailable);

    TestService service;
    client.Open();  // the same binding, now that somebody listens
    EXPECT_EQ(call(4, {client.Context, static_cast<std::int32_t*>(nullptr), &text}),
              status::kNullReferencePointer);
    length = -1;
    char16_t letter = u'x';
    text = &letter;
    EXPECT_EQ(call(6, {client.Context, &length, &text}), status::kInvalidBound);
}

TEST_F(SessionTest, AServiceThatGoesFailsThisCallAndAllLaterOnes) {
    TestService service;
    Client client;
    client.Open();
    service.Stop();
    EXPECT_THAT(StatusOf([&] { client.Read(); }),
                testing::AnyOf(status::kCallFailed, status::kCallFailedDidNotExecute));
    TestService next;
    EXPECT_EQ(StatusOf([&] { client.Read(); }), status::kServerUnavailable);
}

TEST_F(SessionTest, AContextGoesWithItsLastConnection) {
    TestService service;
    {
        Client client;
        client.Open();
        EXPECT_EQ(service.Server->OpenContexts(), 1U);
    }
    service.RunDown.acquire();
    EXPECT_EQ(service.Server->OpenContexts(), 0U);
}

TEST_F(SessionTest, ManyClientsAndManyThreadsOfOneClient) {
    TestService service;
    Client shared;
    shared.Open();
    std::atomic<int> good = 0;
    const auto exchange = [&good](Client& client, char16_t letter) {
        for (int i = 0; i < 20; ++i) {
            const std::u16string text(100, letter);
            good += client.Exchange(text) == text ? 1 : 0;
        }
    };
    std::vector<std::jthread> threads;
    for (char16_t letter = u'a'; letter < u'g'; ++letter) {
        threads.emplace_back([&, letter] { exchange(shared, letter); });
        threads.emplace_back([&, letter] {
            Client own;
            own.Open();
            exchange(own, letter);
            own.Close();
        });
    }
    threads.clear();
    EXPECT_EQ(good, 12 * 20);
}

TEST_F(SessionTest, ACallerThatIsNotAcceptedGetsAccessDenied) {
    Peer seen;
    TestService service({}, {.Accept = [&](const Peer& peer) {
                            seen = peer;
                            return false;
                        }});
    Client client;
    EXPECT_EQ(StatusOf([&] { client.Open(); }), status::kAccessDenied);
    EXPECT_EQ(seen.Pid, getpid());
    EXPECT_EQ(seen.Uid, geteuid());
}

TEST_F(SessionTest, AListenerOfAnotherUserIsNotTrusted) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can listen as another user";
    }
    chmod(m_endpoints.Directory().c_str(), 0777);
    ASSERT_EQ(seteuid(65534), 0);
    TestService service;
    ASSERT_EQ(seteuid(0), 0);
    Client client;
    EXPECT_EQ(StatusOf([&] { client.Open(); }), status::kAccessDenied);
}

TEST_F(SessionTest, OneConnectionTooManyIsRefusedAndFurtherOnesAreDropped) {
    TestService service({}, {.MaxConnectionsPerUser = 1});
    Client first;
    first.Open();
    EXPECT_EQ(StatusOf([] { Client().Open(); }), status::kServerTooBusy);
    EXPECT_TRUE(first.Read());
}

TEST_F(SessionTest, ContextsAndCallsASecondAreLimited) {
    struct SetClock : Clock {
        std::atomic<std::int64_t> Now = 0;
        std::int64_t FileTime() override { return 0; }
        std::int64_t Steady() override { return Now; }
        SystemTime LocalTime() override { return {}; }
        std::int32_t TimeZoneBias() override { return 0; }
        bool SleepFor(std::chrono::milliseconds) override { return true; }
    } clock;
    const ClockScope scope(clock);
    TestService service({}, {.MaxContextsPerConnection = 1, .MaxCallsPerSecond = 3});
    Client client;
    client.Open();
    EXPECT_EQ(StatusOf([&] { client.Open(); }), status::kServerTooBusy) << "a second context";
    EXPECT_EQ(StatusOf([&] { client.Read(); }), status::kOk);
    EXPECT_EQ(StatusOf([&] { client.Read(); }), status::kServerTooBusy) << "a fourth call";
    clock.Now += 10'000'000 / 3 + 1;
    EXPECT_EQ(StatusOf([&] { client.Read(); }), status::kOk);
    EXPECT_EQ(StatusOf([&] { client.Read(); }), status::kServerTooBusy);
}

TEST_F(SessionTest, ListeningTakesADeadSocketButNotALivingOne) {
    const std::string directory = m_endpoints.Directory() + "/new/folder";
    setenv("KELVANE_RPC_DIRECTORY", directory.c_str(), 1);
    {
        TestService service;
        struct stat status {};
        ASSERT_EQ(stat(directory.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, 0755U);
        ASSERT_EQ(stat(EndpointScope::Socket().c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, 0666U);
        Server second(Kelvane::kHotkeyRpc, std::vector<ServerProcedure>(procedure::Count));
        EXPECT_THROW(second.Listen(Kelvane::kEndpoint), platform::Exception);
        Client().Open();
        // A service that was killed leaves a socket that nobody listens on.
        ASSERT_EQ(link(EndpointScope::Socket().c_str(), (directory + "/kept").c_str()), 0);
    }
    EXPECT_NE(access(EndpointScope::Socket().c_str(), F_OK), 0) << "removed at the end";
    ASSERT_EQ(rename((directory + "/kept").c_str(), EndpointScope::Socket().c_str()), 0);
    EXPECT_EQ(StatusOf([] { Client().Open(); }), status::kServerUnavailable);
    TestService service;
    Client().Open();
}

TEST_F(SessionTest, StoppingThePoolUnblocksACall) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            std::promise<void> reached;
            std::promise<void> released;
            TestService service({{procedure::ReadSysInfo, [&](ServerCall&) {
                                      reached.set_value();
                                      released.get_future().wait();
                                  }}});
            Client client;
            client.Open();
            Status status = 0;
            std::jthread caller([&] { status = StatusOf([&] { client.Read(); }); });
            reached.get_future().wait();
            ThreadPool::Default().Stop();
            caller.join();
            released.set_value();
            service.Stop();
            std::exit(status == status::kCallCancelled ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(StringBindingTest, IsComposedAndParsed) {
    char16_t* composed = nullptr;
    RpcStringBindingComposeW(u"uuid", u"ncalrpc", u"host", u"a,b", u"x", &composed);
    EXPECT_EQ(std::u16string(composed), u"uuid@ncalrpc:host[a\\,b,x]");
    RpcStringFreeW(&composed);
    EXPECT_EQ(composed, nullptr);
    const std::u16string tooLong = u"ncalrpc:[" + std::u16string(120, u'x') + u"]";
    const struct {
        const char16_t* String;
        Status Expected;
    } rows[] = {
        {u"ncalrpc:[HotkeyRpcEndpoint]", status::kOk},
        {u"ncalrpc:[endpoint=a]", status::kOk},
        {u"ncalrpc:", status::kOk},
        {nullptr, status::kInvalidStringBinding},
        {u"", status::kInvalidStringBinding},
        {u"ncalrpc", status::kInvalidStringBinding},
        {u"ncalrpc:[a", status::kInvalidStringBinding},
        {u"ncalrpc:[a]b", status::kInvalidStringBinding},
        {u"ncalrpc:[a\\", status::kInvalidStringBinding},
        {u"ncacn_ip_tcp:[135]", status::kProtocolSequenceNotSupported},
        {u"http:[a]", status::kInvalidProtocolSequence},
        {u"ncalrpc:[.]", status::kInvalidEndpointFormat},
        {u"ncalrpc:[..]", status::kInvalidEndpointFormat},
        {u"ncalrpc:[a/b]", status::kInvalidEndpointFormat},
        {tooLong.c_str(), status::kInvalidEndpointFormat},
        {u"ncalrpc:host[a]", status::kCannotSupport},
        {u"uuid@ncalrpc:[a]", status::kCannotSupport},
        {u"ncalrpc:[a,Security=x]", status::kCannotSupport},
    };
    for (const auto& row : rows) {
        RPC_BINDING_HANDLE binding = nullptr;
        EXPECT_EQ(RpcBindingFromStringBindingW(row.String, &binding), row.Expected);
        EXPECT_EQ(RpcBindingFree(&binding), row.Expected == 0 ? status::kOk : status::kInvalidBinding);
        EXPECT_EQ(binding, nullptr);
    }
}

TEST(StringBindingTest, WithoutAnEndpointNothingIsRegistered) {
    RPC_BINDING_HANDLE binding = nullptr;
    RPC_CONTEXT_HANDLE context = nullptr;
    RpcBindingFromStringBindingW(u"ncalrpc:", &binding);
    EXPECT_EQ(StatusOf([&] {
                  NdrClientCall3(Kelvane::kHotkeyRpc, 0, {binding, &context});
              }),
              status::kEndpointNotRegistered);
    RpcBindingFree(&binding);
}

TEST(StatusTest, FaultsBecomeTheStatusThatClientsRaise) {
    const std::map<Status, std::vector<Status>> raised{
        {1767, {0x1C000001}},
        {1768, {0x1C000002, 0x1C00000E, 0x1C000010}},
        {1769, {0x1C000003}},
        {1770, {0x1C000004}},
        {1771, {0x1C000005, 0x1C00000F}},
        {1733, {0x1C000006}},
        {1734, {0x1C000007}},
        {1728, {0x1C000008, 0x1C01000B, 0}},
        {1727, {0x1C00000A, 0x1C00000C}},
        {1726, {0x1C000009, 0x1C00000B, 0x1C000012, 0x1C010009, 1726}},
        {1818, {0x1C00000D}},
        {1918, {0x1C000014}},
        {1916, {0x1C000015}},
        {1831, {0x1C000016}},
        {1917, {0x1C000017}},
        {1820, {0x1C000018, 0x1C010001}},
        {14, {0x1C000019, 14}},
        {6, {0x1C00001A}},
        {1130, {0x1C00001B, 0x1C010013}},
        {1745, {0x1C010002}},
        {1717, {0x1C010003}},
        {1723, {0x1C010014}},
        {1732, {0x1C010017}},
        {0x1C000013, {0x1C000013}},
        {0x1C00001C, {0x1C00001C}},
        {0x1C010006, {0x1C010006}},
        {5, {5}},
    };
    for (const auto& [status, faults] : raised) {
        for (const Status fault : faults) {
            EXPECT_EQ(StatusOfFault(fault), status) << std::hex << fault;
        }
    }
}

}  // namespace

}  // namespace platform::rpc::test
