// The messages of wire.txt: read, written, sent to clients and services, cut at every length. The fuzz
// targets rpc-request and rpc-response damage them.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "platform/core/Text.h"
#include "platform/rpc/Ndr.h"
#include "tests/support/RpcSupport.h"
#include "tests/support/WireData.h"

namespace platform::rpc::test {

namespace {

const Procedure& ProcedureOf(const std::string& name) {
    return name == "callback" ? Kelvane::kHotkeyRpc.Callbacks[0]
                              : Kelvane::kHotkeyRpc.Procedures[std::stoul(name)];
}

Direction DirectionOf(const std::string& name) {
    return name == "in" ? Direction::In : Direction::Out;
}

std::string Describe(const Procedure& procedure, Direction direction, const CallValues& values) {
    std::string text = !procedure.PassesContext(direction) ? ""
                       : values.Context.IsNull()           ? " null"
                                                           : " handle";
    for (std::size_t i = 0; i < kMaxParameters; ++i) {
        const auto& [kind, way] = procedure.Parameters[i];
        if (kind == Kind::None || way != direction) {
            continue;
        }
        if (kind != Kind::String) {
            text += " " + std::to_string(values.Parameters[i].Number);
        }
        if (kind == Kind::String || kind == Kind::CountedText) {
            auto characters = ToUtf8(values.Parameters[i].CopyText().value_or(u"null"));
            std::ranges::replace(characters, '\0', '0');
            text += characters.empty() ? "" : " " + characters;
        }
    }
    return text.empty() ? text : text.substr(1);
}

TEST(StubTest, IsReadAndWrittenAsOthersDoAndWhole) {
    for (const auto& row : Rows("stub")) {
        const Procedure& procedure = ProcedureOf(row[1]);
        const Direction direction = DirectionOf(row[2]);
        for (std::size_t i = 0; i < kTransferSyntaxes.size(); ++i) {
            const Bytes stub = FromHex(row[4 + i]);
            CallValues values;
            Unmarshal(kTransferSyntaxes[i], procedure, direction, FromHex(row[4 + i] + "bfbfbf"), values);
            Unmarshal(kTransferSyntaxes[i], procedure, direction, stub, values);
            EXPECT_EQ(Describe(procedure, direction, values), row[3]);
            // The padding is zero where other bytes were before, and what stands in front does not count for
            // the alignment.
            Buffer out;
            Append(out, Bytes(200, std::byte{0xbf}));
            out.Clear();
            Append(out, FromHex("000000"));
            Marshal(kTransferSyntaxes[i], procedure, direction, values, out);
            EXPECT_EQ(ToHex(out), "000000" + row[4 + i]);

            for (std::size_t length = 0; length < stub.size(); ++length) {
                const ByteView cut = ByteView(stub).first(length);
                const Status status =
                    StatusOf([&] { Unmarshal(kTransferSyntaxes[i], procedure, direction, cut, values); });
                EXPECT_EQ(status, status::kBadStubData) << row[3];
            }
        }
    }
}

TEST(StubTest, CountsThatContradictAreRefused) {
    for (const auto& row : Rows("bad")) {
        CallValues values;
        const Status status = StatusOf([&] {
            Unmarshal(kTransferSyntaxes[0], ProcedureOf(row[2]), DirectionOf(row[3]), FromHex(row[4]),
                      values);
        });
        EXPECT_EQ(status, std::stoul(row[5])) << row[1];
    }
}

std::string NameOf(const SyntaxId& id) {
    return id == kNdr ? " ndr" : id == kNdr64 ? " ndr64" : id == SyntaxId{} ? " none" : " other";
}

/// What a bind_ack says; any other data unit as we write it, hexadecimal.
std::string Restate(const Pdu& pdu) {
    Buffer out;
    if (pdu.Type == PduType::BindAck) {
        std::string text =
            std::to_string(pdu.CallId) + " bind_ack " + std::to_string(ReadBindAck(pdu).MaxReceive);
        for (const auto& [result, reason, syntax] : ReadBindAck(pdu).Results) {
            text += " " + std::to_string(result) + "/" + std::to_string(reason) + NameOf(syntax);
        }
        return text;
    }
    if (pdu.Type == PduType::Bind) {
        AppendBind(out, pdu.Type, pdu.CallId, ReadBind(pdu));
    } else if (pdu.Type == PduType::BindNak) {
        AppendBindNak(out, pdu.CallId, NakReason{ReadBindNak(pdu)});
    } else if (pdu.Type == PduType::Fault) {
        AppendFault(out, {.CallId = pdu.CallId}, ReadFault(pdu), 0);
    } else if (const auto call = Reassembly(kMaxResponseBytes).Add(pdu)) {
        BeginCall(out);
        Append(out, call->Stub);
        FinishCall(out, call->Header, kFragmentSize);
    }
    return ToHex(out);
}

TEST(PduTest, IsReadAndWrittenAsOthersDoWhereverItIsSplit) {
    for (const auto& row : Rows("pdu")) {
        const Bytes twice = FromHex(row[2] + row[2]);
        for (std::size_t split = 0; row[1].find("fragment") == std::string::npos && split < twice.size();
             ++split) {
            PduStream stream;
            std::string restated;
            const auto restate = [&](const Pdu& pdu) { restated += Restate(pdu); };
            Feed(stream, ByteView(twice).first(split), restate);
            Feed(stream, ByteView(twice).subspan(split), restate);
            const std::string& expected = row[1].find("bind_ack") != std::string::npos ? row[1] : row[2];
            EXPECT_EQ(restated, expected + expected) << row[1] << " split at " << split;
        }
    }
}

TEST(FragmentTest, ObeyTheReceiversLimitAndTheStep) {
    for (const std::size_t size : {1408U, 1409U, 2816U, 9999U}) {
        Buffer message;
        BeginCall(message);
        message.Extend(size);
        FinishCall(message, {.CallId = 1}, kSmallestFragmentSize);
        for (ByteView rest = message; !rest.empty();) {
            const auto length = Cursor(rest.subspan(8), 0).Take<std::uint16_t>();
            EXPECT_LE(length, kSmallestFragmentSize);
            EXPECT_TRUE(length == rest.size() || (length - kCallHeaderSize) % kFragmentStep == 0);
            rest = rest.subspan(length);
        }
        const auto isTooLong = [&message](std::size_t limit) {
            PduStream stream;
            Reassembly reassembly(limit);
            std::optional<Call> call;
            Feed(stream, message, [&](const Pdu& pdu) { call = reassembly.Add(pdu); });
            return call.value().IsTooLong;
        };
        EXPECT_FALSE(isTooLong(size));
        EXPECT_TRUE(isTooLong(size - 1));
    }
}

TEST(StatusTest, FaultsBecomeTheStatusThatClientsRaise) {
    for (const auto& row : Rows("fault")) {
        std::istringstream codes(row[2]);
        for (std::string code; codes >> code;) {
            EXPECT_EQ(StatusOfFault(static_cast<Status>(std::stoul(code, nullptr, 16))), std::stoul(row[1]))
                << code;
        }
    }
}

TEST(StringBindingTest, IsComposedAndParsed) {
    char16_t* composed = nullptr;
    RpcStringBindingComposeW(u"uuid", u"ncalrpc", u"host", u"@:[],\\", u"x", &composed);
    EXPECT_EQ(std::u16string(composed), u"uuid@ncalrpc:host[\\@\\:\\[\\]\\,\\\\,x]");
    RpcStringFreeW(&composed);
    EXPECT_EQ(composed, nullptr);
    RPC_BINDING_HANDLE binding = nullptr;
    for (const auto& row : Rows("binding")) {
        EXPECT_EQ(RpcBindingFromStringBindingW(FromUtf8(row[1]).c_str(), &binding), std::stoul(row[2]))
            << row[1];
        EXPECT_EQ(RpcBindingFree(&binding), row[2] == "0" ? status::kOk : status::kInvalidBinding) << row[1];
    }
    EXPECT_EQ(RpcBindingFromStringBindingW(nullptr, &binding), status::kInvalidStringBinding);

    Client client;
    RpcBindingFree(&client.Binding);
    RpcBindingFromStringBindingW(u"ncalrpc:", &client.Binding);
    EXPECT_EQ(StatusOf([&] { client.Open(); }), status::kEndpointNotRegistered);
}

class ConversationTest : public testing::Test {
  protected:
    EndpointScope m_endpoints;
};

TEST_F(ConversationTest, AnswersBecomeTheRightStatus) {
    for (const auto& row : Rows("open")) {
        std::istringstream words(row[3]);
        std::vector<Bytes> replies;
        for (std::string word; words >> word;) {
            replies.push_back(FromHex(word));
        }
        ScriptedService service(std::move(replies));
        EXPECT_EQ(StatusOf([] { Client().Open(); }), std::stoul(row[2])) << row[1];
        service.Join();
        EXPECT_TRUE(row.size() <= 4 || row[4].empty() || ToHex(service.Received.back()) == row[4]) << row[1];
    }
}

TEST_F(ConversationTest, TheServiceAnswersStrangeClients) {
    const TestService service({}, {}, [](ServerCall& call) { call.SetText(0, u"{}"); });
    for (const auto& row : Rows("serve")) {
        RawClient raw;
        raw.Send(FromHex(row[2]));
        std::string answer = ToHex(raw.ReceiveLast());
        if (answer.size() > 48 && row[3].size() > 48 && row[3].substr(40, 8) == "01000000") {
            answer.replace(40, 8, "01000000");  // groups are numbered as they come
        }
        EXPECT_EQ(answer, row[3]) << row[1];
    }
}

/// A connection that is bound.
struct BoundConnection : RawClient {
    static Bytes Request(std::uint16_t procedure, ByteView stub) {
        return MessageOf({.CallId = 2, .Operation = procedure}, stub);
    }
    explicit BoundConnection(std::uint32_t group = 0) {
        Send(BindOf(kNdr64, group));
        if (const Bytes response = Receive(); !response.empty()) {
            Group = Cursor(ByteView(response).subspan(20), 0).Take<std::uint32_t>();
        }
    }
    /// The handle; empty when the connection has ended.
    Bytes Open() {
        Send(Request(Kelvane::procedure::OpenContext, {}));
        const Bytes response = Receive();
        return response.empty() ? response : Bytes(response.begin() + kCallHeaderSize, response.end());
    }
    bool Calls(std::uint16_t procedure, const Bytes& handle) {
        Send(Request(procedure, handle));
        return Receive().at(2) == std::byte(PduType::Response);
    }
    bool Reads(const Bytes& handle) { return Calls(Kelvane::procedure::ReadSysInfo, handle); }
    std::uint32_t Group = 0;
};

TEST_F(ConversationTest, AContextIsSharedInItsAssociationOnlyAndGoesWithIt) {
    TestService service;
    auto first = std::make_unique<BoundConnection>();
    const Bytes handle = first->Open();
    auto second = std::make_unique<BoundConnection>(first->Group);
    EXPECT_TRUE(second->Reads(handle));
    EXPECT_FALSE(BoundConnection().Reads(handle));
    first.reset();
    const Bytes other = second->Open();
    EXPECT_TRUE(second->Calls(Kelvane::procedure::CloseContext, other));
    service.RunDown.acquire();
    EXPECT_FALSE(second->Reads(other));
    EXPECT_TRUE(second->Reads(handle));
    second.reset();
    service.RunDown.acquire();
    EXPECT_EQ(service.Server->OpenContexts(), 0U);
}

TEST_F(ConversationTest, SlowSilentAndDeafClientsDelayNobody) {
    TestService service;
    service.Record = std::u16string(30'000, u'x');
    const RawClient silent;
    RawClient slow;
    slow.Send(ByteView(BindOf(kNdr64)).first(20));
    BoundConnection deaf;
    const Bytes handle = deaf.Open();
    for (int i = 0; i < 20; ++i) {  // their answers fill the socket, and nobody reads
        deaf.Send(BoundConnection::Request(Kelvane::procedure::ReadSysInfo, handle));
    }
    Client client;
    client.Open();
    EXPECT_TRUE(client.Read());
}

TEST_F(ConversationTest, OnlySilenceWithoutAContextEndsAConnection) {
    TestService service({}, {.IdleClose = std::chrono::milliseconds(30)});
    // On a busy machine a client may be too late with its context.
    std::optional<Client> client;
    while (StatusOf([&client] { client.emplace().Open(); }) != status::kOk) {
    }
    std::optional<BoundConnection> halfWay;
    while (halfWay.emplace().Open().empty()) {
    }
    RawClient silent;
    halfWay->Send(ByteView(BoundConnection::Request(0, {})).first(5));
    EXPECT_TRUE(silent.Receive().empty());
    EXPECT_TRUE(halfWay->Receive().empty());
    EXPECT_TRUE(client->Read());
}

}  // namespace

}  // namespace platform::rpc::test
