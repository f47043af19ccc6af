// A service against whatever a client sends on a connection. An odd first byte puts a good bind before the
// rest.

#include <sys/socket.h>
#include <unistd.h>

#include "platform/rpc/ServerConnection.h"
#include "service/HotkeyRpc.h"

using namespace platform::rpc;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static ServerShared shared{
        Kelvane::kHotkeyRpc,
        std::vector<ServerProcedure>(Kelvane::procedure::Count,
                                     [](ServerCall& call) {
                                         call.SetContext(std::make_shared<int>());
                                         call.SetText(1, call.Text(0));
                                     }),
        {.MaxRequestBytes = 4096},
    };
    Bytes input;
    if (size > 0 && data[0] % 2 == 1) {
        const auto& syntax = data[0] % 4 == 1 ? kNdr : kNdr64;
        AppendBind(input, PduType::Bind, 1, {.Elements = {{0, Kelvane::kHotkeyRpc.Id, {syntax}}}});
    }
    Append(input, std::as_bytes(std::span(data, size)).subspan(size > 0 ? 1 : 0));
    int pair[2];
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, pair) != 0) {
        return 0;
    }
    const platform::FileDescriptor client(pair[0]);
    ServerConnection connection(shared, platform::FileDescriptor(pair[1]), {}, true);
    SendAll(client.Get(), input);
    shutdown(client.Get(), SHUT_WR);
    connection.Run();
    return 0;
}
