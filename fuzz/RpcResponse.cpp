// A client against whatever a service sends on a connection. An odd first byte puts good answers to the bind
// and to OpenContext before the rest.

#include <poll.h>
#include <sys/socket.h>

#include <cstdlib>
#include <functional>
#include <thread>

#include "platform/rpc/Ndr.h"
#include "platform/rpc/Pdu.h"
#include "platform/rpc/Socket.h"
#include "service/RpcClient.h"

using namespace platform::rpc;

namespace {

/// What the service sends. Set before the client's bind, which the service waits for.
Bytes g_input;

[[noreturn]] void Serve(const ListeningSocket& listener) {
    std::byte ignored[4096];
    while (true) {
        pollfd wait{.fd = listener.Get(), .events = POLLIN, .revents = 0};
        poll(&wait, 1, -1);
        const platform::FileDescriptor client(accept4(listener.Get(), nullptr, nullptr, SOCK_CLOEXEC));
        if (ReceiveSome(client.Get(), ignored) > 0 && SendAll(client.Get(), g_input)) {
            shutdown(client.Get(), SHUT_WR);
        }
        while (ReceiveSome(client.Get(), ignored) > 0) {
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    static char directory[] = "/tmp/kelvane-fuzz-XXXXXX";
    setenv("KELVANE_RPC_DIRECTORY", mkdtemp(directory), 1);
    static const ListeningSocket listener(EndpointPath(Kelvane::kEndpoint));
    std::thread(Serve, std::cref(listener)).detach();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    g_input.clear();
    if (size > 0 && data[0] % 2 == 1) {
        BindAckBody ack{.Results = {{.TransferSyntax = kNdr}, {.TransferSyntax = kNdr64}}};
        ack.Results[data[0] % 4 == 1 ? 1 : 0] = {.Result = kProviderRejection};
        AppendBindAck(g_input, PduType::BindAck, 1, ack);
        Bytes opened;
        BeginCall(opened);
        Append(opened, ContextHandle{.Uuid = {.Data1 = 1}});
        FinishCall(opened, {.Type = PduType::Response, .CallId = 2}, kFragmentSize);
        Append(g_input, opened);
    }
    Append(g_input, std::as_bytes(std::span(data, size)).subspan(size > 0 ? 1 : 0));
    char16_t record[1000];
    Kelvane::RpcClient client;
    client.Initialize();
    client.ReadSysInfo(record, 999);
    client.SetUEFIFlag();
    return 0;
}
