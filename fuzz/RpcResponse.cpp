// A client against whatever a service sends on a connection. An odd first byte puts good answers to the bind
// and to OpenContext before the rest.

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <thread>

#include "platform/rpc/Ndr.h"
#include "platform/rpc/Pdu.h"
#include "platform/rpc/Socket.h"
#include "service/RpcClient.h"

using namespace platform::rpc;

namespace {

/// Answers each connection with `Input`, however much the client asks. The client's connect hands it over.
class Service {
  public:
    Service() {
        static char directory[] = "/tmp/kelvane-fuzz-XXXXXX";
        if (mkdtemp(directory) == nullptr || setenv("KELVANE_RPC_DIRECTORY", directory, 1) != 0) {
            std::abort();
        }
        std::thread([this, path = EndpointPath(Kelvane::kEndpoint)] { Run(path); }).detach();
        while (access(EndpointPath(Kelvane::kEndpoint).c_str(), F_OK) != 0) {
            std::this_thread::yield();
        }
    }

    Bytes Input;

  private:
    void Run(const std::string& path) {
        const ListeningSocket listener(path);
        std::byte ignored[4096];
        while (true) {
            pollfd wait{.fd = listener.Get(), .events = POLLIN, .revents = 0};
            poll(&wait, 1, -1);
            const Descriptor client(accept4(listener.Get(), nullptr, nullptr, SOCK_CLOEXEC));
            // The client sends its bind after it has set Input.
            if (ReceiveSome(client.Get(), ignored) > 0 && SendAll(client.Get(), Input)) {
                shutdown(client.Get(), SHUT_WR);
            }
            while (ReceiveSome(client.Get(), ignored) > 0) {
            }
        }
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static auto* const service = new Service;
    Bytes& input = service->Input;
    input.clear();
    if (size > 0 && data[0] % 2 == 1) {
        BindAckBody ack{.Results = {{.TransferSyntax = kNdr}, {.TransferSyntax = kNdr64}}};
        ack.Results[data[0] % 4 == 1 ? 1 : 0] = {.Result = kProviderRejection};
        AppendBindAck(input, PduType::BindAck, 1, ack);
        Bytes opened;
        BeginCall(opened);
        Append(opened, ContextHandle{.Uuid = {.Data1 = 1}});
        FinishCall(opened, {.Type = PduType::Response, .CallId = 2}, kFragmentSize);
        Append(input, opened);
    }
    Append(input, std::as_bytes(std::span(data, size)).subspan(size > 0 ? 1 : 0));
    char16_t record[1000];
    Kelvane::RpcClient client;
    client.Initialize();
    client.ReadSysInfo(record, 999);
    client.SetUEFIFlag();
    return 0;
}
