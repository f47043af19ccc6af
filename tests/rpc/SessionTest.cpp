// Client and server together, over real sockets.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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
        EXPECT_EQ(client.Exchange(std::nullopt), std::nullopt);
        EXPECT_EQ(service.Server->OpenContexts(), 1U);
        client.Close();
        EXPECT_EQ(client.Context, nullptr);
        EXPECT_EQ(service.Server->OpenContexts(), 0U);
    }
}

}  // namespace

}  // namespace platform::rpc::test
