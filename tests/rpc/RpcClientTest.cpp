// The client's results, its traces and the rule by which it copies.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <semaphore>
#include <set>
#include <sstream>
#include <thread>

#include "platform/core/Guarded.h"
#include "platform/core/Text.h"
#include "platform/tasks/ThreadPool.h"
#include "service/RpcClient.h"
#include "tests/support/Golden.h"
#include "tests/support/RpcSupport.h"

namespace platform::rpc::test {

namespace {

namespace procedure = Kelvane::procedure;
using Kelvane::RpcClient;

/// Debug output is decided once a process.
[[maybe_unused]] const int g_debugOutput = setenv("KELVANE_DEBUG", "1", 1);

/// A client and what it reaches, as a script says.
class Conversation {
  public:
    /// What the client wrote, then its result, what it copied and the procedures that the service was asked
    /// for.
    std::string Play(const std::string& line) {
        testing::internal::CaptureStderr();
        m_called.clear();
        m_buffer = u'?' + std::u16string(999, u'\0');
        std::istringstream words(line);
        std::string what;
        words >> what;
        const std::map<std::string, std::function<std::int64_t()>> actions = {
            {"service", [&] { return Serve(), 0; }},
            {"answer", [&] { return Answer(words), 0; }},
            {"raise", [&] { return Raise(words), 0; }},
            {"service-ends", [&] { return m_service->Stop(), 0; }},
            {"client-ends", [&] { return m_client.reset(), m_service->Server->OpenContexts(); }},
            {"Initialize", [&] { return m_client->Initialize(); }},
            {"StartMSInfoApp", [&] { return m_client->StartMSInfoApp(); }},
            {"StartUSBC", [&] { return m_client->StartUSBC(); }},
            {"SetUEFIFlag", [&] { return m_client->SetUEFIFlag(); }},
            {"ReadSysInfo", [&] { return m_client->ReadSysInfo(Destination(words), 999); }},
            {"ReadUSBTypeCInfo", [&] { return m_client->ReadUSBTypeCInfo(Destination(words), 499); }},
        };
        const auto result = actions.at(what)();
        const std::string copied = ToUtf8(m_buffer.c_str());
        return testing::internal::GetCapturedStderr() + "= " + std::to_string(result) +
               (copied == "?" ? "" : " copied \"" + copied + "\"") + m_called + "\n";
    }

  private:
    void Serve() {
        std::map<unsigned, ServerProcedure> procedures;
        for (const auto number : {procedure::StartMSInfoApp, procedure::StartUSBC, procedure::SetUEFIFlag,
                                  procedure::ReadSysInfo, procedure::ReadUSBTypeCInfo}) {
            procedures[number] = [this](ServerCall& call) {
                m_called += " called " + std::to_string(call.Procedure());
                call.Procedure() >= procedure::ReadSysInfo ? m_answer(call) : void();
            };
        }
        m_service.emplace(std::move(procedures));
    }

    /// The length that the service names, and the characters: each with how many there are of it, "0" for
    /// the zero, nothing for no text.
    void Answer(std::istream& words) {
        std::int32_t length = 0;
        std::optional<std::u16string> text;
        words >> length;
        for (std::string word; words >> word;) {
            text = text.value_or(u"") +
                   std::u16string(std::stoul(word.substr(1)), word[0] == '0' ? u'\0' : char16_t(word[0]));
        }
        m_answer = [=](ServerCall& call) { call.SetRawText(0, length, text); };
    }

    void Raise(std::istream& words) {
        std::string what;
        words >> what;
        m_answer = [what](ServerCall&) {
            what == "bad_alloc"      ? throw std::bad_alloc()
            : what == "out_of_range" ? throw std::out_of_range("x")
                                     : throw RpcException(static_cast<Status>(std::stoul(what)));
        };
    }

    char16_t* Destination(std::istream& words) {
        std::string word;
        return words >> word ? nullptr : m_buffer.data();
    }

    EndpointScope m_endpoints;
    std::function<void(ServerCall&)> m_answer = [](ServerCall&) {};
    std::string m_called;
    std::u16string m_buffer;
    std::optional<TestService> m_service;
    std::optional<RpcClient> m_client{std::in_place};
};

TEST(RpcClientConversation, EndsWithNumbersTracesAndWholeTexts) {
    tests::ExpectScripts("rpc/client", [] {
        return [conversation = std::make_shared<Conversation>()](const std::string& line) {
            return conversation->Play(line);
        };
    });
}

class RpcClientTest : public testing::Test {
  protected:
    EndpointScope m_endpoints;
};

TEST_F(RpcClientTest, AServiceThatIsStuckAtTheCloseDoesNotHoldTheClient) {
    std::binary_semaphore ended(0);
    TestService service({{procedure::CloseContext, [&](ServerCall&) { ended.acquire(); }}});
    {
        RpcClient client;
        EXPECT_EQ(client.Initialize(), 0);
    }
    ended.release();
}

/// Opens, calls until a call fails, and closes. Returns which call failed, and its status.
std::string CallUntilOneFails() {
    RpcClient client;
    std::array<char16_t, 999> text{};
    Status flag = 0;
    const std::pair<const char*, std::function<std::int64_t()>> calls[] = {
        {"open", [&] { return client.Initialize(); }},
        {"tool", [&] { return client.StartMSInfoApp(); }},
        {"record", [&] { return client.ReadSysInfo(text.data(), 999); }},
        {"flag", [&] { return client.SetUEFIFlag(&flag) == 0 ? 0 : std::int64_t{flag}; }}};
    for (const auto& [name, call] : calls) {
        if (const auto result = call(); result != 0) {
            const std::u16string record(text.data());
            EXPECT_TRUE(record.empty() || record == u"AB") << "half of an answer";
            return std::string(name) + " " + std::to_string(result);
        }
    }
    return "none";
}

/// A service's answers to CallUntilOneFails.
std::vector<Bytes> RecordedAnswers() {
    const TestService service;
    RawClient toService;
    const EndpointScope between;
    const ListeningSocket listener(EndpointScope::Socket());
    std::vector<Bytes> answers;
    const std::jthread relay([&] {
        RawClient client = RawClient::Accept(listener);
        for (Bytes request = client.Receive(); !request.empty(); request = client.Receive()) {
            toService.Send(request);
            client.Send(answers.emplace_back(toService.Receive()));
        }
    });
    EXPECT_EQ(CallUntilOneFails(), "none");
    return answers;
}

/// Sends the first `size` bytes of the answers, each answer when it is asked for.
void AnswerInPart(RawClient& client, const std::vector<Bytes>& answers, std::size_t size) {
    for (const Bytes& answer : answers) {
        client.Receive();
        client.Send(ByteView(answer).first(std::min(size, answer.size())));
        if (size < answer.size()) {
            return;
        }
        size -= answer.size();
    }
}

/// What CallUntilOneFails returns when the service closes or holds the connection after each number
/// of bytes.
std::set<std::string> FailuresOf(bool holds, const std::vector<Bytes>& answers) {
    std::size_t all = 0;
    std::ranges::for_each(answers, [&](const Bytes& answer) { all += answer.size(); });
    const EndpointScope endpoints;
    const ListeningSocket listener(EndpointScope::Socket());
    Guarded<std::set<std::string>> failures;
    std::vector<RawClient> held;
    std::vector<std::jthread> clients;
    for (std::size_t size = 0; size < all; ++size) {
        clients.emplace_back([&] {
            const auto failure = CallUntilOneFails();
            failures.With([&](auto& each) { each.insert(failure); });
        });
        RawClient client = RawClient::Accept(listener);
        AnswerInPart(client, answers, size);
        if (holds) {
            held.push_back(std::move(client));
        }
    }
    if (holds) {
        ThreadPool::Default().Stop();
    }
    clients.clear();
    return failures.With([](const auto& each) { return each; });
}

TEST_F(RpcClientTest, AServiceThatEndsOrIsStuckBetweenAnyTwoBytesIsAStatusAndNoHalfAnswer) {
    const auto answers = RecordedAnswers();
    using testing::UnorderedElementsAre;
    EXPECT_THAT(FailuresOf(false, answers), UnorderedElementsAre("open 1727", "open 1726", "tool 1726",
                                                                 "record 1726", "flag 1726", "none"));
    EXPECT_THAT(FailuresOf(true, answers),
                UnorderedElementsAre("open 1818", "tool 1818", "record 1818", "flag 1818", "none"));
}

TEST_F(RpcClientTest, ACallbackWithoutAnAddressDoesNothing) {
    testing::internal::CaptureStderr();
    Kelvane::CmdCallback(1, u"x", 0);
    const Kelvane::CallbackFunction fails = [](std::int32_t, const char16_t*) { throw std::bad_alloc(); };
    Kelvane::CmdCallback(1, u"x", reinterpret_cast<std::int64_t>(fails));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "debug: CmdCallback failed with exception:\n");
}

}  // namespace

}  // namespace platform::rpc::test
