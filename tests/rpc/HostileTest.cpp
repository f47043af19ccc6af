// A client against a service that lies, and a service against clients that do.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/rpc/Support.h"

namespace platform::rpc::test {

namespace {

namespace procedure = Kelvane::procedure;

const SyntaxId& kInterface = Kelvane::kHotkeyRpc.Id;

Bytes Bind(std::uint32_t group = 0, std::uint16_t maxReceive = kFragmentSize,
           const SyntaxId& syntax = kNdr64) {
    Bytes out;
    AppendBind(
        out, PduType::Bind, 1,
        {.MaxReceive = maxReceive, .AssociationGroup = group, .Elements = {{0, kInterface, {syntax}}}});
    return out;
}

Bytes BindAck(std::vector<BindResult> results, std::uint16_t maxReceive = kFragmentSize) {
    Bytes out;
    AppendBindAck(out, PduType::BindAck, 1,
                  {.MaxReceive = maxReceive, .AssociationGroup = 1, .Results = std::move(results)});
    return out;
}

constexpr BindResult kRejected{kProviderRejection, kReasonUnknownTransferSyntax, {}};
constexpr BindResult kUnknownInterface{kProviderRejection, kReasonUnknownInterface, {}};
const Bytes kGoodAck = BindAck({{0, 0, kNdr}, kRejected});

Bytes Nak(NakReason reason) {
    Bytes out;
    AppendBindNak(out, 1, reason);
    return out;
}

Bytes CallPdu(CallHeader header, ByteView stub, std::size_t maxFragment = kFragmentSize) {
    Bytes out;
    BeginCall(out);
    Append(out, stub);
    FinishCall(out, header, maxFragment);
    return out;
}

/// The answer to the first call on a connection, whose bind was call 1.
Bytes Response(ByteView stub, std::uint32_t callId = 2) {
    return CallPdu({.Type = PduType::Response, .CallId = callId}, stub);
}

Bytes Fault(Status status, std::uint32_t callId = 2) {
    Bytes out;
    AppendFault(out, {.CallId = callId}, status, 0);
    return out;
}

Bytes Joined(Bytes first, const Bytes& second) {
    Append(first, second);
    return first;
}

const Bytes kHandle = FromHex("00000000443322116655887799aabbccddeeff00");

class HostileTest : public testing::Test {
  protected:
    /// What opening a context ends with when the service sends `replies`.
    static Status OpenAgainst(std::vector<Bytes> replies) {
        ScriptedService service(std::move(replies));
        Client client;
        return StatusOf([&] { client.Open(); });
    }

    EndpointScope m_endpoints;
};

TEST_F(HostileTest, AnswersToABindBecomeTheRightStatus) {
    const struct {
        const char* Name;
        Bytes Answer;
        Status Expected;
    } rows[] = {
        {"NDR", kGoodAck, status::kOk},
        {"NDR64", BindAck({kRejected, {0, 0, kNdr64}}), status::kOk},
        {"both", BindAck({{0, 0, kNdr}, {0, 0, kNdr64}}), status::kOk},
        {"no common syntax", BindAck({kRejected, kRejected}), status::kUnsupportedTransferSyntax},
        {"unknown interface", BindAck({kUnknownInterface, kRejected}), status::kUnknownInterface},
        {"rejected by the user", BindAck({{1, 0, {}}, {1, 0, {}}}), status::kCallFailedDidNotExecute},
        {"fewer results", BindAck({{0, 0, kNdr}}), status::kProtocolError},
        {"a syntax not offered there", BindAck({{0, 0, kNdr64}, kRejected}), status::kProtocolError},
        {"fragments too small to be", BindAck({{0, 0, kNdr}, kRejected}, 24), status::kProtocolError},
        {"congestion", Nak(NakReason::Congestion), status::kServerTooBusy},
        {"local limit", Nak(NakReason::LocalLimit), status::kServerTooBusy},
        {"version", Nak(NakReason::Version), status::kProtocolError},
        {"authentication", Nak(NakReason::Authentication), status::kUnknownAuthentication},
        {"nak without a reason", Nak(NakReason::NotSpecified), status::kCallFailedDidNotExecute},
        {"a response", Response(kHandle, 1), status::kProtocolError},
        {"nothing", {}, status::kCallFailedDidNotExecute},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(OpenAgainst({row.Answer, Response(kHandle)}), row.Expected) << row.Name;
    }
}

TEST_F(HostileTest, AnswersToACallBecomeTheRightStatus) {
    Bytes shutdown;
    AppendBindNak(shutdown, 9, NakReason::NotSpecified);
    StoreAt(shutdown, 2, PduType::Shutdown);
    const Bytes fragments = CallPdu({.Type = PduType::Response, .CallId = 2}, kHandle, kCallHeaderSize + 8);
    const Bytes firstFragment(fragments.begin(), fragments.begin() + kCallHeaderSize + 8);
    Bytes shortFault = Fault(5);
    shortFault.resize(28);
    StoreAt(shortFault, 8, std::uint16_t{28});
    Bytes bigEndian = Response(kHandle);
    bigEndian[4] = std::byte{0};
    const struct {
        const char* Name;
        Bytes Answer;
        Status Expected;
    } rows[] = {
        {"fragments", fragments, status::kOk},
        {"a call to shut down before", Joined(shutdown, Response(kHandle)), status::kOk},
        {"fault of 28 bytes", shortFault, 5},
        {"fault in the middle of a response", Joined(firstFragment, Fault(5)), 5},
        {"forbidden fault", Fault(0), status::kProtocolError},
        {"stub data that ends early", Response(ByteView(kHandle).first(19)), status::kBadStubData},
        {"another call's answer", Response(kHandle, 3), status::kProtocolError},
        {"big-endian", bigEndian, status::kProtocolError},
        {"first fragment twice", Joined(firstFragment, firstFragment), status::kProtocolError},
        {"end in the middle", firstFragment, status::kCallFailed},
        {"another bind_ack", BindAck({}), status::kProtocolError},
        {"no answer", {}, status::kCallFailed},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(OpenAgainst({kGoodAck, row.Answer}), row.Expected) << row.Name;
    }
}

TEST_F(HostileTest, CallbacksAreAnsweredOrRefused) {
    const Bytes good = FromHex("0403020103000000000000000300000041004200000000000000000000000000");
    const auto callback = [](ByteView stub, std::uint16_t operation, std::uint16_t context = 0) {
        return CallPdu({.CallId = 2, .ContextId = context, .Operation = operation}, stub);
    };
    const struct {
        const char* Name;
        Bytes Request;
        Bytes Answer;
    } rows[] = {
        {"callback", callback(good, 0), Response({})},
        {"unknown number", callback(good, 1), Fault(fault::kOperationOutOfRange)},
        {"stub data cut", callback(ByteView(good).first(20), 0), Fault(status::kBadStubData)},
    };
    for (const auto& row : rows) {
        ScriptedService service({kGoodAck, row.Request, Response(kHandle)});
        Client client;
        EXPECT_EQ(StatusOf([&] { client.Open(); }), status::kOk) << row.Name;
        service.Join();
        EXPECT_EQ(ToHex(service.Received.at(2)), ToHex(row.Answer)) << row.Name;
    }
    EXPECT_EQ(OpenAgainst({kGoodAck, callback(good, 0, 1)}), status::kProtocolError) << "another context";
}

TEST_F(HostileTest, DamagedAnswersNeverHurtTheClient) {
    const Bytes text = Response(FromHex("030000000000020003000000410042000000"), 3);
    ForEachDamage(text, [&](const Bytes& damaged) {
        ScriptedService service({kGoodAck, Response(kHandle), damaged});
        Client client;
        client.Open();
        const Status status = StatusOf([&] { client.Read(); });
        if (damaged.size() < text.size()) {
            EXPECT_THAT(status, testing::AnyOf(status::kCallFailed, status::kProtocolError));
        }
    });
    ForEachDamage(kGoodAck, [&](const Bytes& damaged) { OpenAgainst({damaged}); });
}

/// A connection that is bound, with an open context.
struct RawSession {
    explicit RawSession(std::uint32_t group = 0) {
        Raw.Send(Bind(group));
        const Bytes ack = Raw.Receive();
        Group = Cursor(ByteView(ack).subspan(20), 0).Take<std::uint32_t>();
    }
    Bytes Open() {
        const Bytes response = Call(procedure::OpenContext, {});
        return {response.begin() + kCallHeaderSize, response.end()};
    }
    Bytes Call(unsigned number, ByteView stub) {
        Raw.Send(CallPdu({.CallId = 2, .Operation = static_cast<std::uint16_t>(number)}, stub));
        return Raw.Receive();
    }
    RawClient Raw;
    std::uint32_t Group = 0;
};

TEST_F(HostileTest, TheServiceAnswersStrangeBindsAndRequests) {
    TestService service;
    const SyntaxId other{{1, 2, 3, {}}, 1, 0};
    Bytes bindOther;
    AppendBind(bindOther, PduType::Bind, 1,
               {.Elements = {{0, other, {kNdr}}, {7, kInterface, {other, kNdr}}}});
    Bytes authenticated = Bind();
    StoreAt(authenticated, 10, std::uint16_t{8});
    const auto answerTo = [](const Bytes& sent) {
        RawClient raw;
        raw.Send(sent);
        raw.EndSending();
        return ToHex(raw.Receive());
    };
    EXPECT_EQ(answerTo(bindOther), ToHex(BindAck({kUnknownInterface, {0, 0, kNdr}})));
    EXPECT_EQ(answerTo(Bind(0, 100)), ToHex(Nak(NakReason::NotSpecified)));
    EXPECT_EQ(answerTo(Bind(4711)), ToHex(Nak(NakReason::NotSpecified))) << "a group that does not exist";
    EXPECT_EQ(answerTo(authenticated), ToHex(Nak(NakReason::Authentication)));
    EXPECT_EQ(answerTo(Response({})), "") << "closed without a word";
    EXPECT_EQ(answerTo(CallPdu({.CallId = 1}, {})), "") << "request before bind";

    RawSession session;
    const auto status = [](const Bytes& fault) {
        return Cursor(ByteView(fault).subspan(24), 0).Take<Status>();
    };
    EXPECT_EQ(status(session.Call(procedure::ReadSysInfo, kHandle)), fault::kContextMismatch);
    EXPECT_EQ(status(session.Call(procedure::ReadSysInfo, Bytes(20))), fault::kContextMismatch);
    EXPECT_EQ(status(session.Call(procedure::ReadSysInfo, Bytes(19))), status::kBadStubData);
    EXPECT_EQ(status(session.Call(procedure::Count, kHandle)), fault::kOperationOutOfRange);
    session.Raw.Send(CallPdu({.CallId = 2, .ContextId = 5}, {}));
    EXPECT_EQ(status(session.Raw.Receive()), fault::kInvalidPresentationContext);

    Bytes alter;
    AppendBind(alter, PduType::AlterContext, 3, {.Elements = {{5, kInterface, {kNdr}}}});
    session.Raw.Send(alter);
    EXPECT_EQ(session.Raw.Receive().at(2), std::byte(PduType::AlterContextResponse));
    session.Raw.Send(CallPdu({.CallId = 2, .ContextId = 5}, {}));
    EXPECT_EQ(session.Raw.Receive().at(2), std::byte(PduType::Response));
}

TEST_F(HostileTest, AContextIsSharedInItsAssociationOnly) {
    TestService service;
    auto first = std::make_unique<RawSession>();
    const Bytes handle = first->Open();
    auto second = std::make_unique<RawSession>(first->Group);
    RawSession stranger;
    const auto reads = [&](RawSession& session) {
        return session.Call(procedure::ReadSysInfo, handle).at(2) == std::byte(PduType::Response);
    };
    EXPECT_TRUE(reads(*second));
    EXPECT_FALSE(reads(stranger));
    first.reset();
    EXPECT_TRUE(reads(*second));
    second.reset();
    service.RunDown.acquire();
}

TEST_F(HostileTest, DamagedRequestsNeverHurtTheService) {
    TestService service;
    RawSession owner;
    Bytes stub = owner.Open();
    Append(
        stub,
        FromHex("0403020103000000000000000000020000000000030000000000000041004200000000000000000000000000"));
    const Bytes request = CallPdu({.CallId = 3, .Operation = procedure::CommandWithCallbackProc11}, stub);
    ForEachDamage(Joined(Bind(owner.Group), request), [](const Bytes& damaged) {
        RawClient raw;
        raw.Send(damaged);
        raw.EndSending();
        while (!raw.Receive().empty()) {
        }
    });
    Client client;
    client.Open();
    EXPECT_TRUE(client.Read());
}

TEST_F(HostileTest, SlowSilentAndDeafClientsDelayNobody) {
    TestService service;
    service.Record = std::u16string(30'000, u'x');
    const Bytes bind = Bind();
    RawClient silent;
    RawClient slow;
    slow.Send(ByteView(bind).first(20));
    RawSession deaf;
    const Bytes handle = deaf.Open();
    for (int i = 0; i < 20; ++i) {  // their answers fill the socket, and nobody reads
        deaf.Raw.Send(CallPdu({.CallId = 2, .Operation = procedure::ReadSysInfo}, handle));
    }
    Client client;
    client.Open();
    EXPECT_TRUE(client.Read());
}

TEST_F(HostileTest, OnlySilenceWithoutAContextEndsAConnection) {
    TestService service({}, {.IdleClose = std::chrono::milliseconds(30)});
    Client client;
    client.Open();
    RawClient silent;
    RawSession halfWay;
    halfWay.Open();
    halfWay.Raw.Send(ByteView(CallPdu({.CallId = 2}, {})).first(5));
    EXPECT_TRUE(silent.Receive().empty());
    EXPECT_TRUE(halfWay.Raw.Receive().empty());
    EXPECT_TRUE(client.Read());
}

}  // namespace

}  // namespace platform::rpc::test
