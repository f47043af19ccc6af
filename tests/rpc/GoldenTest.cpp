// Messages that other implementations of the protocol make, byte for byte: read, written, and damaged.

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "platform/rpc/Ndr.h"
#include "tests/rpc/Support.h"

namespace platform::rpc::test {

namespace {

namespace procedure = Kelvane::procedure;

constexpr ContextHandle kHandle{
    0, {0x11223344, 0x5566, 0x7788, {0x99, 0xaa, 0xbb, 0xcc, 0xdd, 0xee, 0xff, 0x00}}};
constexpr char16_t kAB[] = u"AB";
constexpr char16_t kCDE[] = u"CDE";

Value Text(std::span<const char16_t> characters) {
    return {static_cast<std::int64_t>(characters.size()), std::as_bytes(characters)};
}

CallValues Values(const ContextHandle& handle, Value first = {}, Value second = {}, Value third = {},
                  Value fourth = {}) {
    return {handle, {first, second, third, fourth}};
}

struct StubVector {
    const char* Name;
    const Procedure& Row;
    rpc::Direction Direction;
    CallValues Values;
    std::string Bytes[2];  ///< NDR, NDR64
};

#define HANDLE "00000000443322116655887799aabbccddeeff00"
#define ROW(name) Kelvane::kHotkeyRpc.Procedures[procedure::name]

const StubVector kStubs[] = {
    {"open, response", ROW(OpenContext), Direction::Out, Values(kHandle), {HANDLE, HANDLE}},
    {"only a handle", ROW(ReadSysInfo), Direction::In, Values(kHandle), {HANDLE, HANDLE}},
    {"closed", ROW(CloseContext), Direction::Out, Values({}), {std::string(40, '0'), std::string(40, '0')}},
    {"text",
     ROW(ReadSysInfo),
     Direction::Out,
     Values({}, Text(kAB)),
     {"030000000000020003000000410042000000",
      "030000000000000000000200000000000300000000000000410042000000"}},
    {"null text", ROW(ReadSysInfo), Direction::Out, Values({}), {std::string(16, '0'), std::string(32, '0')}},
    {"empty array",
     ROW(ReadSysInfo),
     Direction::Out,
     Values({}, Text({})),
     {"000000000000020000000000", "000000000000000000000200000000000000000000000000"}},
    {"text in",
     ROW(ExchangeTextProc8),
     Direction::In,
     Values(kHandle, Text(kAB)),
     {HANDLE "030000000000020003000000410042000000",
      HANDLE "0300000000000200000000000300000000000000410042000000"}},
    {"text after a text in",
     ROW(ExchangeTextProc8),
     Direction::Out,
     Values({}, {}, Text(kCDE)),
     {"0400000000000200040000004300440045000000",
      "0400000000000000000002000000000004000000000000004300440045000000"}},
    {"two texts",
     ROW(WriteTwoTextsProc9),
     Direction::In,
     Values(kHandle, Text(kAB), Text(kCDE)),
     {HANDLE "03000000000002000300000041004200000000000400000004000200040000004300440045000000", HANDLE
      "03000000000002000000000003000000000000004100420000000000040000000000000004000200000000000400000000"
      "0000004300440045000000"}},
    {"null and text",
     ROW(WriteTwoTextsProc9),
     Direction::In,
     Values(kHandle, {}, Text(kCDE)),
     {HANDLE "0000000000000000040000000000020004000000"
             "4300440045000000",
      HANDLE "000000000000000000000000040000000000000000000200000000000400000000000000"
             "4300440045000000"}},
    {"command",
     ROW(CommandWithCallbackProc11),
     Direction::In,
     Values(kHandle, {0x01020304}, Text(kAB), {}, {0x1122334455667788}),
     {HANDLE "040302010300000000000200030000004100420000000000000000008877665544332211",
      HANDLE "0403020103000000000000000000020000000000030000000000000041004200000000008877665544332211"}},
    {"callback",
     Kelvane::kHotkeyRpc.Callbacks[0],
     Direction::In,
     Values({}, {0x01020304}, Text(kAB), {0x1122334455667788}),
     {"0403020103000000000000000300000041004200000000008877665544332211",
      "040302010000000003000000000000000000000000000000030000000000000041004200000000008877665544332211"}},
};

TEST(StubDataTest, IsWrittenAsOthersDo) {
    for (const StubVector& vector : kStubs) {
        for (std::size_t i = 0; i < kTransferSyntaxes.size(); ++i) {
            Bytes out(3);  // whatever stands before does not count for the alignment
            Marshal(kTransferSyntaxes[i], vector.Row, vector.Direction, vector.Values, out);
            EXPECT_EQ(ToHex(out), "000000" + vector.Bytes[i]) << vector.Name;
        }
    }
}

TEST(StubDataTest, IsReadWithAnyPaddingAndSurplusBytes) {
    for (const StubVector& vector : kStubs) {
        for (std::size_t i = 0; i < kTransferSyntaxes.size(); ++i) {
            const auto& syntax = kTransferSyntaxes[i];
            const Bytes stub = FromHex(vector.Bytes[i] + "bfbfbfbf");
            CallValues values;
            Unmarshal(syntax, vector.Row, vector.Direction, stub, values);
            Bytes again;
            Marshal(syntax, vector.Row, vector.Direction, values, again);
            EXPECT_EQ(ToHex(again), vector.Bytes[i]) << vector.Name;
        }
    }
}

TEST(StubDataTest, DamageGivesAValueInsideTheBytesOrAStatus) {
    for (const StubVector& vector : kStubs) {
        for (std::size_t i = 0; i < kTransferSyntaxes.size(); ++i) {
            const Bytes whole = FromHex(vector.Bytes[i]);
            ForEachDamage(whole, [&](const Bytes& stub) {
                CallValues values;
                const Status status = StatusOf(
                    [&] { Unmarshal(kTransferSyntaxes[i], vector.Row, vector.Direction, stub, values); });
                for (const Value& value : values.Parameters) {
                    if (value.Text && !value.Text->empty()) {
                        EXPECT_GE(value.Text->data(), stub.data()) << vector.Name;
                        EXPECT_LE(&value.Text->back(), &stub.back()) << vector.Name;
                    }
                }
                if (stub.size() < whole.size()) {
                    EXPECT_EQ(status, status::kBadStubData) << vector.Name << " cut at " << stub.size();
                } else if (status != status::kBadStubData && status != status::kInvalidBound) {
                    EXPECT_EQ(status, status::kOk) << vector.Name;
                }
            });
        }
    }
}

TEST(StubDataTest, CountsThatContradictAreRefused) {
    struct {
        const char* Name;
        const Procedure& Row;
        rpc::Direction Direction;
        const char* Ndr;
        Status Expected;
    } const rows[] = {
        {"length above the count", ROW(ReadSysInfo), Direction::Out, "040000000000020003000000410042000000",
         1734},
        {"length below the count", ROW(ReadSysInfo), Direction::Out, "020000000000020003000000410042000000",
         1734},
        {"negative length", ROW(ReadSysInfo), Direction::Out, "ffffffff0000020003000000410042000000", 1734},
        {"count of 8 GB", ROW(ReadSysInfo), Direction::Out, "ffffffff00000200ffffffff", 1783},
        {"null text with a length", ROW(ReadSysInfo), Direction::Out, "0700000000000000", 0},
        {"string without zero", Kelvane::kHotkeyRpc.Callbacks[0], Direction::In,
         "0403020102000000000000000200000041004200000000000000000000000000", 1783},
        {"string of no characters", Kelvane::kHotkeyRpc.Callbacks[0], Direction::In,
         "0403020102000000000000000000000000000000000000000000000000000000", 1783},
        {"string with an offset", Kelvane::kHotkeyRpc.Callbacks[0], Direction::In,
         "0403020103000000010000000200000041000000000000000000000000000000", 1783},
        {"string longer than its maximum", Kelvane::kHotkeyRpc.Callbacks[0], Direction::In,
         "0403020101000000000000000200000041000000000000000000000000000000", 1783},
    };
    for (const auto& row : rows) {
        CallValues values;
        const Bytes stub = FromHex(row.Ndr);
        EXPECT_EQ(StatusOf([&] { Unmarshal(kTransferSyntaxes[0], row.Row, row.Direction, stub, values); }),
                  row.Expected)
            << row.Name;
    }
}

/// What a data unit says, in words.
std::string Describe(const Pdu& pdu) {
    const auto syntaxName = [](const SyntaxId& id) {
        return id == kNdr ? "ndr" : id == kNdr64 ? "ndr64" : id == SyntaxId{} ? "none" : "other";
    };
    std::string text = std::to_string(pdu.CallId) + " ";
    switch (pdu.Type) {
        case PduType::Bind: {
            const auto body = ReadBind(pdu);
            text +=
                "bind " + std::to_string(body.MaxReceive) + " group " + std::to_string(body.AssociationGroup);
            for (const auto& element : body.Elements) {
                text += " " + std::to_string(element.ContextId) + "=" +
                        syntaxName(element.TransferSyntaxes.at(0));
                text += element.Interface == Kelvane::kHotkeyRpc.Id ? "" : " of another interface";
            }
            return text;
        }
        case PduType::BindAck:
            text += "bind_ack " + std::to_string(ReadBindAck(pdu).MaxReceive);
            for (const auto& result : ReadBindAck(pdu).Results) {
                text += " " + std::to_string(result.Result) + "/" + std::to_string(result.Reason) + " " +
                        syntaxName(result.TransferSyntax);
            }
            return text;
        case PduType::BindNak:
            return text + "bind_nak " + std::to_string(ReadBindNak(pdu));
        case PduType::Fault:
            return text + "fault " + std::to_string(ReadFault(pdu));
        default:
            break;
    }
    const auto call = Reassembly(kMaxResponseBytes).Add(pdu).value();
    return text + (pdu.Type == PduType::Request ? "request " : "response ") +
           std::to_string(call.Header.ContextId) + " " + std::to_string(call.Header.Operation) + " " +
           ToHex(call.Stub);
}

struct PduVector {
    const char* Meaning;
    std::string Bytes;
    std::function<void(rpc::Bytes&)> Write;  ///< empty for what we never send in this form
};

/// A writer of a request or response with this stub data.
std::function<void(Bytes&)> WriteCall(CallHeader header, std::string stub) {
    return [=](Bytes& out) {
        BeginCall(out);
        Append(out, FromHex(stub));
        FinishCall(out, header, kFragmentSize);
    };
}

std::function<void(Bytes&)> WriteFault(Status fault) {
    return [=](Bytes& out) { AppendFault(out, {.CallId = 1}, fault, 0); };
}

#define INTERFACE "80f2355577962b488328bd28e5a4647801000000"
#define NDR "045d888aeb1cc9119fe808002b10486002000000"
#define NDR64 "33057171babe37498319b5dbef9ccc3601000000"

const PduVector kPdus[] = {
    {"1 bind 5840 group 0 0=ndr 1=ndr64",
     "05000b03100000007400000001000000d016d01600000000020000000000"
     "0100" INTERFACE NDR "01000100" INTERFACE NDR64,
     [](Bytes& out) {
         const SyntaxId& id = Kelvane::kHotkeyRpc.Id;
         AppendBind(out, PduType::Bind, 1, {.Elements = {{0, id, {kNdr}}, {1, id, {kNdr64}}}});
     }},
    {"1 bind_ack 5840 0/0 ndr 2/2 none",
     "05000c03100000005400000001000000d016d016030000000600343033313000020000000000"
     "0000" NDR "020002000000000000000000000000000000000000000000",
     {}},
    {"1 bind 5840 group 0 0=ndr 1=ndr64 2=other",
     "05000b0310000000a000000001000000d016d01600000000030000000000"
     "0100" INTERFACE NDR "01000100" INTERFACE NDR64 "02000100" INTERFACE
     "2c1cb76c12984045030000000000000001000000",
     {}},
    {"1 bind_ack 5840 2/2 none 0/0 ndr64 3/3 none",
     "05000c03100000007800000001000000d016d016452301001200486f746b6579527063456e64706f696e7400030000000200020"
     "000"
     "0000000000000000000000000000000000000000000000" NDR64
     "030003000000000000000000000000000000000000000000",
     {}},
    {"1 bind 5840 group 0 0=ndr",
     "05000b03100000004800000001000000d016d0160000000001000000000001"
     "00" INTERFACE NDR,
     [](Bytes& out) {
         AppendBind(out, PduType::Bind, 1, {.Elements = {{0, Kelvane::kHotkeyRpc.Id, {kNdr}}}});
     }},
    {"1 bind_ack 5840 2/2 none",
     "05000c03100000003c00000001000000d016d016020000000600343033313000010000000200020000000000000000000000000"
     "000"
     "00000000000000",
     {}},
    {"1 request 0 0 ", "050000031000000018000000010000000000000000000000", WriteCall({.CallId = 1}, "")},
    {"1 response 0 0 0000000074bce23c4d6b60469db07928e9849bbc",
     "05000203100000002c0000000100000014000000000000000000000074bce23c4d6b60469db07928e9849bbc",
     WriteCall({.Type = PduType::Response, .CallId = 1}, "0000000074bce23c4d6b60469db07928e9849bbc")},
    {"3 request 0 4 " HANDLE,
     "05000003100000002c00000003000000140000000000040000000000443322116655887799aabbccddeeff00",
     WriteCall({.CallId = 3, .Operation = 4}, HANDLE)},
    {"3 response 1 0 030000000000000000000200000000000300000000000000410042000000",
     "050002031000000036000000030000001e000000010000000300000000000000000002000000000003000000000000004100420"
     "00000",
     WriteCall({.Type = PduType::Response, .CallId = 3, .ContextId = 1},
               "030000000000000000000200000000000300000000000000410042000000")},
    {"4 response 0 0 0000000000000000000000000000000000000000",
     "05000203100000002c0000000400000014000000000000000000000000000000000000000000000000000000",
     {}},
    {"1 fault 469762074", "0500030310000000200000000100000000000000000000001a00001c00000000",
     WriteFault(fault::kContextMismatch)},
    {"1 fault 469827586", "0500030310000000200000000100000000000000000000000200011c00000000",
     WriteFault(fault::kOperationOutOfRange)},
    {"1 fault 1783", "050003031000000020000000010000000000000000000000f706000000000000",
     WriteFault(status::kBadStubData)},
    {"1 bind_nak 0", "05000d031000000015000000010000000000010500",
     [](Bytes& out) { AppendBindNak(out, 1, NakReason::NotSpecified); }},
    {"6 response 1 0 ", "050002031000000018000000060000000000000001000000",
     WriteCall({.Type = PduType::Response, .CallId = 6, .ContextId = 1}, "")},
};

/// Everything that `bytes`, received in two parts, says.
std::string ReadAll(ByteView bytes, std::size_t split) {
    PduStream stream;
    std::string text;
    for (ByteView part : {bytes.first(split), bytes.subspan(split)}) {
        while (!part.empty()) {
            const auto room = stream.Room();
            const auto taken = part.first(std::min(room.size(), part.size()));
            std::ranges::copy(taken, room.begin());
            stream.Received(taken.size());
            part = part.subspan(taken.size());
            while (const auto pdu = stream.Next()) {
                text += Describe(*pdu) + ";";
            }
        }
    }
    return text;
}

TEST(PduTest, IsReadAndWrittenAsOthersDo) {
    for (const PduVector& vector : kPdus) {
        const Bytes bytes = FromHex(vector.Bytes);
        Bytes twice = bytes;
        Append(twice, bytes);
        const std::string meaning = std::string(vector.Meaning) + ";";
        for (std::size_t split = 0; split <= twice.size(); ++split) {
            ASSERT_EQ(ReadAll(twice, split), meaning + meaning) << split;
        }
        if (vector.Write) {
            Bytes written;
            vector.Write(written);
            EXPECT_EQ(ToHex(written), vector.Bytes) << vector.Meaning;
        }
    }
}

TEST(PduTest, DamageGivesAMeaningOrAProtocolError) {
    for (const PduVector& vector : kPdus) {
        ForEachDamage(FromHex(vector.Bytes), [&](const Bytes& damaged) {
            try {
                ReadAll(damaged, damaged.size() / 2);
            } catch (const RpcException& exception) {
                EXPECT_EQ(exception.Status(), status::kProtocolError);
            } catch (const std::logic_error&) {
                // Describe found a fragment, or no syntax at all.
            }
        });
    }
}

TEST(FragmentTest, AreReadFromOthers) {
    const Bytes first = FromHex(
        "050000011000000030000000030000002600000000000600000000004b333fcda4585540a9720df20a79d85603000000");
    const Bytes second =
        FromHex("0500000210000000260000000300000026000000000006000000020003000000410042000000");
    const auto pdu = [](const Bytes& bytes, std::uint8_t flags, std::uint32_t callId = 3) {
        return Pdu{PduType::Request, flags, 0, callId, ByteView(bytes).subspan(kHeaderSize)};
    };
    Reassembly reassembly(38);
    EXPECT_FALSE(reassembly.Add(pdu(first, pdu_flag::kFirst)));
    const auto call = reassembly.Add(pdu(second, pdu_flag::kLast));
    EXPECT_EQ(ToHex(call.value().Stub),
              "000000004b333fcda4585540a9720df20a79d85603000000000002000300000041004200"
              "0000");

    Reassembly small(37);
    small.Add(pdu(first, pdu_flag::kFirst));
    EXPECT_TRUE(small.Add(pdu(second, pdu_flag::kLast)).value().IsTooLong);

    EXPECT_EQ(StatusOf([&] { reassembly.Add(pdu(second, pdu_flag::kLast)); }), status::kProtocolError);
    reassembly.Add(pdu(first, pdu_flag::kFirst));
    EXPECT_EQ(StatusOf([&] { reassembly.Add(pdu(first, pdu_flag::kFirst)); }), status::kProtocolError);
    EXPECT_EQ(StatusOf([&] { reassembly.Add(pdu(second, pdu_flag::kLast, 4)); }), status::kProtocolError);
}

TEST(FragmentTest, ObeyTheReceiversLimitAndTheStep) {
    for (const std::size_t size :
         {std::size_t{1408}, std::size_t{1409}, std::size_t{2816}, std::size_t{9999}}) {
        Bytes message;
        BeginCall(message);
        message.resize(kCallHeaderSize + size, std::byte{7});
        FinishCall(message, {.CallId = 1}, kSmallestFragmentSize);
        PduStream stream;
        Reassembly reassembly(size);
        std::optional<Call> call;
        for (ByteView rest = message; !rest.empty();) {
            const auto room = stream.Room();
            const auto part = rest.first(std::min(room.size(), rest.size()));
            std::ranges::copy(part, room.begin());
            stream.Received(part.size());
            rest = rest.subspan(part.size());
            while (const auto pdu = stream.Next()) {
                EXPECT_LE(pdu->Body.size() + kHeaderSize, kSmallestFragmentSize);
                EXPECT_TRUE((pdu->Flags & pdu_flag::kLast) != 0 || pdu->Body.size() % kFragmentStep == 0);
                call = reassembly.Add(*pdu);
            }
        }
        EXPECT_EQ(call.value().Stub.size(), size);
    }
}

}  // namespace

}  // namespace platform::rpc::test
