// A client against any bytes of a service on a connection: a byte that picks good answers to the bind and
// to OpenContext or none, then the service's bytes.

#include "fuzz/Target.h"
#include "platform/rpc/Ndr.h"
#include "service/RpcClient.h"
#include "tests/support/RpcSupport.h"
#include "tests/support/WireData.h"

using namespace platform::rpc;

namespace {

constexpr std::size_t kMaxInput = 65536;  // fits into the socket's buffer

Bytes Opened(const SyntaxId& syntax) {
    BindAckBody ack{.Results = {{.TransferSyntax = kNdr}, {.TransferSyntax = kNdr64}}};
    ack.Results[syntax == kNdr ? 1 : 0] = {.Result = kProviderRejection};
    Bytes bytes;
    AppendBindAck(bytes, PduType::BindAck, 1, ack);
    const ContextHandle handle{.Uuid = {.Data1 = 1}};
    const auto contextId = static_cast<std::uint16_t>(syntax == kNdr ? 0 : 1);
    Append(bytes, test::MessageOf({.Type = PduType::Response, .CallId = 2, .ContextId = contextId},
                                  std::as_bytes(std::span(&handle, 1))));
    return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const test::EndpointScope endpoints;
    if (size == 0 || size > kMaxInput) {
        return 0;
    }
    Bytes bytes = data[0] % 4 == 0 ? Bytes() : Opened(data[0] % 4 == 1 ? kNdr : kNdr64);
    Append(bytes, std::as_bytes(std::span(data, size)).subspan(1));
    const test::ScriptedService service({bytes});
    if (data[0] % 8 < 4) {
        char16_t record[1000];
        Kelvane::RpcClient client;
        client.Initialize();
        if (client.ReadSysInfo(record, 1000) == 0) {
            fuzz::Require(std::u16string_view(record, 1000).find(u'\0') != std::u16string_view::npos);
        }
        client.SetUEFIFlag();
    } else {
        test::Client client;
        test::StatusOf([&] {
            client.Open();
            client.Command(7, u"in", [](std::int32_t, const char16_t* text) {
                fuzz::Require(std::u16string_view(text).size() <= kMaxInput);
            });
            client.Exchange(std::u16string(kFragmentSize, u'x'));
            client.Close();
        });
    }
    return 0;
}

std::vector<std::string> fuzz::Seeds() {
    std::vector<std::string> seeds;
    for (const auto& row : test::Rows("open")) {
        std::string replies = row[3];
        std::erase(replies, ' ');
        seeds.push_back('\0' + Seed(test::FromHex(replies)));
        seeds.push_back('\4' + Seed(test::FromHex(replies)));
    }
    for (const auto& row : test::Rows("stub")) {
        for (const char syntax : {1, 2}) {
            const Bytes stub = test::FromHex(row[3 + syntax]);
            const auto contextId = static_cast<std::uint16_t>(syntax - 1);
            if (row[1] == "callback") {
                Bytes bytes = test::MessageOf({.CallId = 3, .ContextId = contextId}, stub);
                Append(bytes,
                       test::MessageOf({.Type = PduType::Response, .CallId = 3, .ContextId = contextId},
                                       std::as_bytes(std::span("\0\0\0\0\0\0\0\0"))));
                seeds.push_back(static_cast<char>(4 + syntax) + Seed(bytes));
            } else if (row[2] == "out") {
                const Bytes answer =
                    test::MessageOf({.Type = PduType::Response, .CallId = 3, .ContextId = contextId}, stub);
                seeds.push_back(syntax + Seed(answer));
                seeds.push_back(static_cast<char>(4 + syntax) + Seed(answer));
            }
        }
    }
    Bytes record;
    BeginCall(record);
    CallValues values;
    const Bytes text(kFragmentSize, std::byte{'x'});
    values.Parameters[0] = {.Number = kFragmentSize / 2, .Text = text};
    Marshal(kTransferSyntaxes[0], Kelvane::kHotkeyRpc.Procedures[Kelvane::procedure::ReadSysInfo],
            Direction::Out, values, record);
    FinishCall(record, {.Type = PduType::Response, .CallId = 3}, kSmallestFragmentSize);
    seeds.push_back('\1' + Seed(record));
    return seeds;
}
