// A service against any bytes of a client on a connection. The first byte picks a bind of NDR or NDR64 or
// none, and whether the client is one too many or one that may not call; the client's bytes follow.

#include <sys/random.h>
#include <sys/socket.h>

#include "fuzz/Target.h"
#include "platform/rpc/ServerConnection.h"
#include "service/HotkeyRpc.h"
#include "tests/support/RpcSupport.h"
#include "tests/support/WireData.h"

using namespace platform::rpc;
namespace procedure = Kelvane::procedure;

namespace {

constexpr std::size_t kMaxInput = 4096;  // it and the answers go into the socket as a whole
constexpr std::size_t kMaxRequest = 2048;

/// Bits of the first byte, besides the two for the bind.
constexpr std::uint8_t kMayNotCall = 4;
constexpr std::uint8_t kOneTooMany = 8;

/// The handle in the recorded messages.
const Bytes g_firstContext = test::FromHex("443322116655887799aabbccddeeff00");
std::uint8_t g_contexts = 0;

}  // namespace

/// Makes context handles that the input can name.
extern "C" ssize_t getrandom(void* buffer, std::size_t size, unsigned) {
    Bytes bytes = g_firstContext;
    bytes.resize(size);
    bytes[0] = static_cast<std::byte>(std::to_integer<int>(bytes[0]) + g_contexts++);
    std::memcpy(buffer, bytes.data(), size);
    return static_cast<ssize_t>(size);
}

void fuzz::Run(std::string_view input) {
    static ServerShared shared{{{Kelvane::kHotkeyRpc, test::EchoProcedures()}},
                               {.MaxRequestBytes = kMaxRequest, .IdleClose = {}}};
    int pair[2];
    if (input.size() > kMaxInput || socketpair(AF_UNIX, SOCK_STREAM, 0, pair) != 0) {
        return;
    }
    const auto first = TakeByte(input);
    g_contexts = 0;
    const Admitted admitted = (first & kOneTooMany) != 0   ? Admitted::TooMany
                              : (first & kMayNotCall) != 0 ? Admitted::Denied
                                                           : Admitted::Serve;
    const platform::FileDescriptor client(pair[0]);
    {
        ServerConnection connection(shared, platform::FileDescriptor(pair[1]), {}, admitted);
        if (first % 4 != 0) {
            SendAll(client.Get(), test::BindOf(first % 4 == 1 ? kNdr : kNdr64, 0, kSmallestFragmentSize));
        }
        SendAll(client.Get(), std::as_bytes(std::span(input)));
        shutdown(client.Get(), SHUT_WR);
        if (admitted == Admitted::Serve) {
            connection.Run();
        }
        while (admitted != Admitted::Serve && connection.HandleArrived()) {
        }
    }
    fuzz::Require(shared.Associations.OpenContexts() == 0);
    PduStream answers;
    for (ssize_t got = 1; got > 0;) {
        got = ReceiveSome(client.Get(), answers.Room());
        answers.Received(static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
        while (answers.Next()) {
        }
    }
    fuzz::Require(answers.IsEmpty());
}

std::vector<std::string> fuzz::Seeds() {
    std::vector<std::string> seeds;
    for (const auto& row : test::Rows("serve")) {
        Add(seeds, {0}, Seed(test::FromHex(row[2])));
    }
    const Bytes open = test::MessageOf({.CallId = 2, .Operation = procedure::OpenContext}, {});
    const auto add = [&](int first, const std::vector<Bytes>& messages) {
        Add(seeds, {first}, Seed(open));
        for (const Bytes& message : messages) {
            seeds.back() += Seed(message);
        }
    };
    for (const auto& row : test::Rows("stub")) {
        for (const char syntax : {1, 2}) {
            const Bytes stub = test::FromHex(row[3 + syntax]);
            if (row[1] == "callback" || row[2] == "out") {
                continue;
            }
            const CallHeader call{.CallId = 3, .Operation = static_cast<std::uint16_t>(std::stoul(row[1]))};
            const Bytes answer = test::MessageOf({.Type = PduType::Response, .CallId = 3}, {});
            Buffer fault;
            AppendFault(fault, {.CallId = 3}, fault::kUnspecified, 0);
            const Bytes close = test::MessageOf({.CallId = 4, .Operation = procedure::CloseContext},
                                                ByteView(stub).first(sizeof(ContextHandle)));
            add(syntax, {test::MessageOf(call, stub), answer, close});
            add(syntax, {test::MessageOf(call, stub), test::Copied(fault), close});
            add(syntax | kMayNotCall, {close});
            add(syntax | kOneTooMany, {close});
        }
    }
    // A text that comes and returns in several fragments, and one that is too long.
    for (const std::size_t characters : {kMaxRequest / 3, kMaxRequest * 2 / 3}) {
        CallValues values;
        const Bytes text(characters * sizeof(char16_t), std::byte{'x'});
        values.Context.Uuid = Cursor(g_firstContext, 0).Take<Uuid>();
        values.Parameters[0] = {.Number = static_cast<std::int64_t>(characters), .Text = text};
        Buffer stub;
        Marshal(kTransferSyntaxes[0], Kelvane::kHotkeyRpc.Procedures[procedure::ExchangeTextProc8],
                Direction::In, values, stub);
        add(1, {test::MessageOf({.CallId = 3, .Operation = procedure::ExchangeTextProc8}, stub,
                                kSmallestFragmentSize)});
    }
    return seeds;
}
