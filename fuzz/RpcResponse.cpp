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

Bytes RepliesOf(const std::vector<std::string>& row) {
    std::string replies = row[3];
    std::erase(replies, ' ');
    return test::FromHex(replies);
}

}  // namespace

void fuzz::Run(std::string_view input) {
    static const test::EndpointScope endpoints;
    static const auto rows = test::Rows("open");
    // The first two open a context with NDR and with NDR64.
    static const Bytes opened[] = {RepliesOf(rows.at(0)), RepliesOf(rows.at(1))};
    if (input.size() > kMaxInput) {
        return;
    }
    const auto first = TakeByte(input);
    Buffer bytes;
    if (first % 4 != 0) {
        Append(bytes, opened[first % 4 == 1 ? 0 : 1]);
    }
    Append(bytes, std::as_bytes(std::span(input)));
    const test::ScriptedService service({test::Copied(bytes)});
    if (first % 8 < 4) {
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
}

std::vector<std::string> fuzz::Seeds() {
    std::vector<std::string> seeds;
    for (const auto& row : test::Rows("open")) {
        Add(seeds, {0, 4}, Seed(RepliesOf(row)));
    }
    for (const auto& row : test::Rows("stub")) {
        for (const char syntax : {1, 2}) {
            const Bytes stub = test::FromHex(row[3 + syntax]);
            const auto contextId = static_cast<std::uint16_t>(syntax - 1);
            if (row[1] == "callback") {
                Buffer bytes;
                Append(bytes, test::MessageOf({.CallId = 3, .ContextId = contextId}, stub));
                Append(bytes,
                       test::MessageOf({.Type = PduType::Response, .CallId = 3, .ContextId = contextId},
                                       std::as_bytes(std::span("\0\0\0\0\0\0\0\0"))));
                Add(seeds, {4 + syntax}, Seed(bytes));
            } else if (row[2] == "out") {
                const Bytes answer =
                    test::MessageOf({.Type = PduType::Response, .CallId = 3, .ContextId = contextId}, stub);
                Add(seeds, {syntax, 4 + syntax}, Seed(answer));
            }
        }
    }
    Buffer record;
    CallValues values;
    const Bytes text(kFragmentSize, std::byte{'x'});
    values.Parameters[0] = {.Number = kFragmentSize / 2, .Text = text};
    Marshal(kTransferSyntaxes[0], Kelvane::kHotkeyRpc.Procedures[Kelvane::procedure::ReadSysInfo],
            Direction::Out, values, record);
    Add(seeds, {1},
        Seed(test::MessageOf({.Type = PduType::Response, .CallId = 3}, record, kSmallestFragmentSize)));
    return seeds;
}
