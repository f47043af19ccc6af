// The client's results, its traces and the rule by which it copies.

#include <gtest/gtest.h>

#include <cstdlib>
#include <semaphore>
#include <sstream>

#include "platform/core/Text.h"
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

TEST_F(RpcClientTest, TheEndpointsDirectoryMayMakeTheBindingImpossible) {
    setenv("KELVANE_RPC_DIRECTORY", std::string(200, 'x').c_str(), 1);
    EXPECT_EQ(RpcClient().Initialize(), 1706);
}

TEST_F(RpcClientTest, AServiceThatIsStuckAtTheCloseDoesNotHoldTheClient) {
    std::binary_semaphore ended(0);
    TestService service({{procedure::CloseContext, [&](ServerCall&) { ended.acquire(); }}});
    {
        RpcClient client;
        EXPECT_EQ(client.Initialize(), 0);
    }
    ended.release();
}

TEST_F(RpcClientTest, AServiceThatGoesIsANumberAndTheDestructorSaysNothing) {
    TestService service;
    RpcClient client;
    ASSERT_EQ(client.Initialize(), 0);
    service.Stop();
    char16_t buffer[999];
    EXPECT_GT(client.ReadSysInfo(buffer, 999), 0);
    EXPECT_EQ(client.SetUEFIFlag(), 1);
    EXPECT_EQ(client.StartMSInfoApp(), 1722);
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
