// Client and server together, over real sockets.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <deque>
#include <filesystem>

#include "platform/rpc/Admission.h"
#include "service/DetailsClient.h"
#include "tests/support/RpcSupport.h"
#include "tests/support/TestClock.h"

namespace platform::rpc::test {

namespace {

using testing::Optional;

class ClientAndServerTest : public testing::Test {
  protected:
    EndpointScope m_endpoints;
};

std::u16string g_called;
Client* g_client = nullptr;

TEST_F(ClientAndServerTest, AWholeConversationWithFragmentsAndACallbackInEachTransferSyntax) {
    const std::u16string text(50'000, u'x');
    TestService service({}, {.MaxRequestBytes = 2 * text.size() + 100});
    for (const bool ndrOnly : {true, false}) {
        Client client(ndrOnly);
        client.Open();
        EXPECT_THAT(client.Read(), Optional(std::u16string(u"AB\0", 3)));
        EXPECT_THAT(client.Exchange(text), Optional(text));
        EXPECT_EQ(StatusOf([&] { client.Exchange(text + text); }), status::kServerOutOfMemory);
        EXPECT_THAT(client.Exchange(u""), Optional(std::u16string())) << "the connection stays usable";
        EXPECT_EQ(client.Exchange(std::nullopt), std::nullopt);

        g_client = &client;
        const auto record = [](std::int32_t code, const char16_t* argument) {
            g_called = std::u16string(argument) + char16_t(u'0' + code);
            EXPECT_EQ(StatusOf([] { g_client->Read(); }), status::kCallInProgress) << "on the same binding";
        };
        EXPECT_THAT(client.Command(7, u"code ", record), Optional(std::u16string(u"done\0", 5)));
        EXPECT_TRUE(client.Command(8, u"", nullptr));
        EXPECT_EQ(std::exchange(g_called, u""), u"code 7");

        EXPECT_EQ(service.Server->OpenContexts(), 1U);
        client.Close();
        EXPECT_EQ(client.Context, nullptr);
        EXPECT_EQ(service.Server->OpenContexts(), 0U);
    }
}

TEST_F(ClientAndServerTest, DetailsHaveAStatusForEachWayToBeMissing) {
    std::u16string json;
    const auto read = [&json] { return Kelvane::DetailsClient().ReadDetails(json); };
    EXPECT_EQ(read(), status::kServerUnavailable);
    EXPECT_EQ((TestService(), read()), status::kUnknownInterface);
    const std::u16string longest(31'999, u'x');
    const std::pair<Status, ServerProcedure> rows[] = {
        {status::kStringTooLong, [&](ServerCall& call) { call.SetText(0, longest + u"x"); }},
        {status::kBadStubData, [](ServerCall&) {}},
        {status::kBadStubData, [](ServerCall& call) { call.SetRawText(0, 0, u""); }},
        {status::kBadStubData, [](ServerCall& call) { call.SetRawText(0, 2, u"{}"); }},
        {status::kOk, [&](ServerCall& call) { call.SetText(0, longest); }},
    };
    for (const auto& [expected, body] : rows) {
        const TestService service({}, {}, body);
        EXPECT_EQ(read(), expected);
    }
    EXPECT_EQ(json, longest);
}

TEST_F(ClientAndServerTest, ReferencesThatAreNullAreRefusedBeforeAnythingIsSent) {
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
    char16_t letter = u'x';
    std::tie(length, text) = std::tuple(-1, &letter);
    EXPECT_EQ(call(6, {client.Context, &length, &text}), status::kInvalidBound);
}

TEST_F(ClientAndServerTest, ManyClientsAndManyThreadsOfOneClient) {
    TestService service;
    Client shared;
    shared.Open();
    std::vector<std::jthread> threads;
    for (int i = 0; i < 12; ++i) {
        threads.emplace_back([&shared, i] {
            Client own;
            own.Open();
            Client& client = i % 2 == 0 ? own : shared;
            const std::u16string text(100, char16_t(u'a' + i));
            for (int call = 0; call < 20; ++call) {
                EXPECT_THAT(client.Exchange(text), Optional(text));
            }
        });
    }
}

TEST_F(ClientAndServerTest, RefusedCallersAreAnsweredWithoutAThreadAndNotKept) {
    TestClock clock;
    const ClockScope scope(clock);
    std::atomic<pid_t> refused = getpid();
    TestService service({}, {.Accept = [&](const SocketCredentials& caller) { return caller.Pid != refused; },
                             .MaxRefusals = 20});
    using std::filesystem::directory_iterator;
    const auto threads = [] { return std::distance(directory_iterator("/proc/self/task"), {}); };
    const auto before = threads();
    EXPECT_EQ(StatusOf([] { Client().Open(); }), status::kAccessDenied);
    std::deque<RawClient> silent(21);
    EXPECT_TRUE(silent.front().Receive().empty()) << "the oldest makes room";
    EXPECT_EQ(StatusOf([] { Client().Open(); }), status::kAccessDenied);
    EXPECT_EQ(threads(), before);
    refused = 0;
    clock.Advance(std::chrono::seconds(1));
    Client().Open();
    EXPECT_TRUE(silent.back().Receive().empty()) << "has not asked in time";
}

TEST_F(ClientAndServerTest, WithoutADescriptorAClientIsServedLaterAndTheReasonSaidOnce) {
// The undefined-behaviour sanitizer, which has no macro, is built in with the other one.
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the undefined-behaviour sanitizer looks at objects through a pipe";
#endif
    std::counting_semaphore<> said{0};
    const TestService service({}, {.Exhausted = [&said](const std::string&) { said.release(); }});
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    const int next = dup(STDIN_FILENO);  // the one that the client gets, and the last
    close(next);
    const rlimit low{.rlim_cur = static_cast<rlim_t>(next) + 1, .rlim_max = limit.rlim_max};
    setrlimit(RLIMIT_NOFILE, &low);
    RawClient waiting;
    said.acquire();
    setrlimit(RLIMIT_NOFILE, &limit);
    Client().Open();
    EXPECT_FALSE(said.try_acquire());
}

TEST_F(ClientAndServerTest, AListenerOfAnotherUserIsNotTrusted) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can listen as another user";
    }
    chmod(m_endpoints.Directory().c_str(), 0777);
    ASSERT_EQ(seteuid(65534), 0);
    TestService service;
    ASSERT_EQ(seteuid(0), 0);
    EXPECT_EQ(StatusOf([] { Client().Open(); }), status::kMutualAuthenticationFailed);
}

TEST_F(ClientAndServerTest, ConnectionsContextsAndCallsASecondAreLimited) {
    TestClock clock;
    const ClockScope scope(clock);
    TestService service({},
                        {.MaxConnectionsPerUser = 1, .MaxContextsPerConnection = 1, .MaxCallsPerSecond = 4});
    Client client;
    client.Open();
    EXPECT_EQ(StatusOf([] { Client().Open(); }), status::kServerTooBusy) << "a second connection";
    EXPECT_EQ(StatusOf([&] { client.Open(); }), status::kServerTooBusy) << "a second context";
    EXPECT_EQ(StatusOf([&] { client.Read(); }), status::kOk);
    EXPECT_EQ(StatusOf([&] { client.Read(); }), status::kServerTooBusy) << "a fourth call";
    clock.Advance(std::chrono::milliseconds(250));
    EXPECT_EQ(StatusOf([&] { client.Read(); }), status::kOk);
    EXPECT_EQ(StatusOf([&] { client.Read(); }), status::kServerTooBusy);
}

TEST(AdmissionTest, StrangersTakeNoRoomAndNobodyTakesAll) {
    TestClock clock;
    const ClockScope scope(clock);
    const ServerOptions options{.Accept = [](const SocketCredentials& caller) { return caller.Uid < 10; },
                                .MaxConnections = 3,
                                .MaxConnectionsPerUser = 2,
                                .MaxCallsPerSecond = 4};
    Admission admission(options);
    const auto enter = [&](uid_t user) { return admission.Enter({.Uid = user}); };
    for (uid_t stranger = 10; stranger < 80; ++stranger) {
        EXPECT_EQ(enter(stranger), Admitted::Denied);
    }
    EXPECT_EQ(enter(1), Admitted::Serve);
    EXPECT_EQ(enter(1), Admitted::Serve);
    EXPECT_EQ(enter(1), Admitted::TooMany) << "of one user";
    EXPECT_EQ(enter(2), Admitted::Serve);
    EXPECT_EQ(enter(3), Admitted::TooMany) << "of all users";
    const auto comeAgain = [&] {
        admission.Leave(1);
        return enter(1);
    };
    EXPECT_EQ(comeAgain(), Admitted::Serve);
    EXPECT_EQ(comeAgain(), Admitted::Serve);
    EXPECT_EQ(comeAgain(), Admitted::TooMany) << "in a second";
    EXPECT_EQ(enter(3), Admitted::Serve) << "in the room of the one that left";
}

}  // namespace

}  // namespace platform::rpc::test
