// The client's results, its traces and the rule by which it copies.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <semaphore>

#include "platform/core/Text.h"
#include "service/RpcClient.h"
#include "tests/support/RpcSupport.h"

namespace platform::rpc::test {

namespace {

namespace procedure = Kelvane::procedure;
using Kelvane::RpcClient;

/// Debug output is decided once a process.
[[maybe_unused]] const int g_debugOutput = setenv("KELVANE_DEBUG", "1", 1);

constexpr char kAllocate[] = "KELVANE midl_user_allocate\n";
constexpr char kFree[] = "KELVANE midl_user_free\n";

class RpcClientTest : public testing::Test {
  protected:
    void SetUp() override { testing::internal::CaptureStderr(); }
    void TearDown() override { testing::internal::GetCapturedStderr(); }

    /// The debug output since the last look, without what precedes each line.
    static std::string Traces() {
        auto traces = testing::internal::GetCapturedStderr();
        testing::internal::CaptureStderr();
        constexpr std::string_view kPrefix = "debug: ";
        for (auto at = traces.find(kPrefix); at != std::string::npos; at = traces.find(kPrefix, at)) {
            traces.erase(at, kPrefix.size());
        }
        return traces;
    }

    std::u16string_view Text() const { return m_buffer.data(); }

    EndpointScope m_endpoints;
    std::u16string m_buffer = std::u16string(1000, u'?');
};

TEST_F(RpcClientTest, WithoutAServiceNothingOpensAndReadsDoNotCall) {
    RpcClient client;
    EXPECT_EQ(client.Initialize(), 1722);
    EXPECT_EQ(client.ReadSysInfo(m_buffer.data(), 999), -1);
    EXPECT_EQ(client.ReadUSBTypeCInfo(m_buffer.data(), 499), -1);
    EXPECT_EQ(client.SetUEFIFlag(), 1);
    EXPECT_EQ(client.StartMSInfoApp(), 0);
    EXPECT_EQ(client.StartUSBC(), 1775);
    EXPECT_EQ(m_buffer[0], u'?');
    EXPECT_EQ(Traces(), std::string("Inside RpcClient::ReadSysInfo() \n") + kAllocate + kFree + kAllocate +
                            kFree + "Inside RpcClient::SetUEFIFlag() \n" + kAllocate + kFree);
    EXPECT_EQ(client.Initialize(), 1722) << "a second attempt replaces the binding";
}

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

TEST_F(RpcClientTest, ASessionTracesWhatItReads) {
    std::vector<unsigned> calls;
    const auto note = [&](ServerCall& call) { calls.push_back(call.Procedure()); };
    TestService service({{procedure::StartMSInfoApp, note}, {procedure::StartUSBC, note}});
    {
        RpcClient client;
        EXPECT_EQ(client.Initialize(), 0);
        EXPECT_EQ(client.Initialize(), 1);
        EXPECT_EQ(service.Server->OpenContexts(), 1U);
        EXPECT_EQ(client.StartMSInfoApp(), 0);
        EXPECT_EQ(client.StartUSBC(), 0);
        EXPECT_EQ(client.ReadSysInfo(nullptr, 999), -1);
        EXPECT_EQ(client.ReadUSBTypeCInfo(nullptr, 499), -1);
        EXPECT_EQ(Traces(), "Inside RpcClient::ReadSysInfo() \nNULL == SysData\n");

        EXPECT_EQ(client.ReadSysInfo(m_buffer.data(), 999), 0);
        EXPECT_EQ(Text(), u"AB");
        EXPECT_EQ(Traces(), std::string("Inside RpcClient::ReadSysInfo() \n") + kAllocate + kAllocate +
                                "Sys Info = \nAB\n" + kFree + kFree);
        EXPECT_EQ(client.ReadUSBTypeCInfo(m_buffer.data(), 499), 0);
        EXPECT_EQ(client.SetUEFIFlag(), 0);
        EXPECT_EQ(Traces(), std::string(kAllocate) + kAllocate + kFree + kFree +
                                "Inside RpcClient::SetUEFIFlag() \n" + kAllocate + kAllocate + kFree + kFree);
    }
    EXPECT_EQ(service.Server->OpenContexts(), 0U) << "closed by the destructor, before the connection";
    EXPECT_EQ(calls, (std::vector<unsigned>{2, 3}));
}

TEST_F(RpcClientTest, TextsAreCopiedWholeOrNotAtAll) {
    std::function<void(ServerCall&)> reply;
    TestService service({{procedure::ReadSysInfo, [&](ServerCall& call) { reply(call); }},
                         {procedure::ReadUSBTypeCInfo, [&](ServerCall& call) { reply(call); }}});
    RpcClient client;
    ASSERT_EQ(client.Initialize(), 0);
    const auto text = [](std::size_t size) {
        return [size](ServerCall& call) { call.SetText(0, std::u16string(size, u'x')); };
    };
    const auto raw = [](std::int32_t length, std::u16string characters) {
        return [=](ServerCall& call) { call.SetRawText(0, length, characters); };
    };
    const struct {
        const char* Name;
        std::function<void(ServerCall&)> Reply;
        std::int64_t Result;
        std::u16string Expected;  ///< "?" when the buffer must not be touched
        bool CopyFails;
    } rows[] = {
        {"998 characters", text(998), 0, std::u16string(998, u'x'), false},
        {"999 characters", text(999), 0, u"", true},
        {"length 0", raw(0, u""), 0, u"?", true},
        {"no terminating zero", raw(3, u"abc"), 0, u"", true},
        {"a short text in a long array", raw(1500, u"ab" + std::u16string(1498, u'\0')), 0, u"ab", false},
        {"null", [](ServerCall& call) { call.SetText(0, std::nullopt); }, -1, u"?", false},
        {"null with a length", [](ServerCall& call) { call.SetRawText(0, 5, std::nullopt); }, -1, u"?",
         false},
        {"length beyond the array", raw(9, u"abc"), 1734, u"?", false},
        {"fault", [](ServerCall&) { throw RpcException(0xC0000005); }, 0xC0000005, u"?", false},
    };
    for (const auto& row : rows) {
        reply = row.Reply;
        m_buffer.assign(1000, u'\0');
        m_buffer[0] = u'?';
        EXPECT_EQ(client.ReadSysInfo(m_buffer.data(), 999), row.Result) << row.Name;
        EXPECT_EQ(Text(), row.Expected) << row.Name;
        std::string traces = Traces();
        EXPECT_EQ(traces.find("Failed to copy pSysdata\nSys Info = \n") != std::string::npos, row.CopyFails)
            << row.Name;
    }
    reply = text(499);
    EXPECT_EQ(client.ReadUSBTypeCInfo(m_buffer.data(), 499), 0);
    EXPECT_EQ(Text(), u"");
    EXPECT_EQ(Traces(),
              std::string(kAllocate) + kAllocate + "Failed to copy USBTypeC Data\n" + kFree + kFree);
}

TEST_F(RpcClientTest, AServiceThatGoesIsANumberAndTheDestructorSaysNothing) {
    TestService service;
    RpcClient client;
    ASSERT_EQ(client.Initialize(), 0);
    service.Stop();
    EXPECT_GT(client.ReadSysInfo(m_buffer.data(), 999), 0);
    EXPECT_EQ(client.SetUEFIFlag(), 1);
    EXPECT_EQ(client.StartMSInfoApp(), 1722);
}

TEST_F(RpcClientTest, ACallbackWithoutAnAddressDoesNothing) {
    Kelvane::CmdCallback(1, u"x", 0);
    EXPECT_EQ(Traces(), "");
    const Kelvane::CallbackFunction fails = [](std::int32_t, const char16_t*) { throw std::bad_alloc(); };
    Kelvane::CmdCallback(1, u"x", reinterpret_cast<std::int64_t>(fails));
    EXPECT_EQ(Traces(), "CmdCallback failed with exception:\n");
}

}  // namespace

}  // namespace platform::rpc::test
