#pragma once

// What the tests of the service link share: bytes, a private directory of endpoints, a service, clients.

#include <functional>
#include <map>
#include <optional>
#include <semaphore>
#include <string>
#include <string_view>
#include <thread>

#include "platform/rpc/Pdu.h"
#include "platform/rpc/Server.h"
#include "service/HotkeyRpc.h"

namespace platform::rpc::test {

Bytes FromHex(std::string_view hex);
std::string ToHex(ByteView bytes);

/// The status that `body` ends with.
Status StatusOf(const std::function<void()>& body);

/// Hands `bytes` to `stream` and each data unit that they complete to `use`.
void Feed(PduStream& stream, ByteView bytes, const std::function<void(const Pdu&)>& use);

/// A private directory of endpoints while it lives.
class EndpointScope {
  public:
    EndpointScope();
    ~EndpointScope();
    const std::string& Directory() const { return m_directory; }
    static std::string Socket() { return EndpointPath(Kelvane::kEndpoint); }

  private:
    std::string m_directory;
};

/// HotkeyRpc's procedures: exchanges return what came, the others "AB".
std::vector<ServerProcedure> EchoProcedures();

/// A service on a thread of its own: EchoProcedures, except that reads return `Record`.
class TestService {
  public:
    /// Has the details interface too where `readDetails` answers it.
    explicit TestService(std::map<unsigned, ServerProcedure> procedures = {}, ServerOptions options = {},
                         ServerProcedure readDetails = {});
    ~TestService() { Stop(); }
    void Stop();

    std::optional<std::u16string> Record = u"AB";
    std::counting_semaphore<> RunDown{0};  ///< released when a context's state is destroyed
    std::optional<rpc::Server> Server;

  private:
    std::thread m_thread;
};

/// A connection that sends and receives bytes as they are.
class RawClient {
  public:
    /// Connects to the service.
    RawClient();
    explicit RawClient(FileDescriptor socket) : m_socket(std::move(socket)) {}
    /// Waits for the next client of `listener`.
    static RawClient Accept(const ListeningSocket& listener);
    void Send(ByteView bytes) { SendAll(m_socket.Get(), bytes); }
    /// The next data unit, header included; empty at the end of the connection.
    Bytes Receive();
    /// Ends sending and returns the last data unit before the end, empty when there is none.
    Bytes ReceiveLast();

  private:
    FileDescriptor m_socket;
    PduStream m_stream;
};

/// A listener that answers each data unit that arrives with the next of `replies`, byte for byte, and then
/// closes.
class ScriptedService {
  public:
    explicit ScriptedService(std::vector<Bytes> replies);
    ~ScriptedService() { Join(); }
    void Join();
    std::vector<Bytes> Received;  ///< complete after Join

  private:
    ListeningSocket m_listener{EndpointScope::Socket()};
    std::thread m_thread;
};

/// A client's binding and context.
class Client {
  public:
    /// Offers NDR alone or both transfer syntaxes.
    explicit Client(bool ndrOnly = false);
    ~Client() { RpcBindingFree(&Binding); }
    void Open() { NdrClientCall3(m_interface, Kelvane::procedure::OpenContext, {Binding, &Context}); }
    void Close() { NdrClientCall3(m_interface, Kelvane::procedure::CloseContext, {&Context}); }
    std::optional<std::u16string> Read(unsigned procedure = Kelvane::procedure::ReadSysInfo);
    std::optional<std::u16string> Exchange(std::optional<std::u16string> text);
    std::optional<std::u16string> Command(std::int32_t code, std::u16string text,
                                          Kelvane::CallbackFunction callback);

    RPC_BINDING_HANDLE Binding = nullptr;
    Kelvane::RPC_CONTEXT Context = nullptr;

  private:
    InterfaceDescription m_interface = Kelvane::kHotkeyRpc;
};

}  // namespace platform::rpc::test
