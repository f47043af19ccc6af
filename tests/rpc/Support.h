#pragma once

// What the tests of the service link share: a private directory of endpoints, a service, clients, raw bytes.

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

/// A private directory of endpoints while it lives.
class EndpointScope {
  public:
    EndpointScope();
    ~EndpointScope();
    const std::string& Directory() const { return m_directory; }
    static std::string Socket();

  private:
    std::string m_directory;
};

/// The interface with NDR alone, and with both.
const InterfaceDescription& NdrOnly();
inline const InterfaceDescription* const kBothSyntaxes[] = {&NdrOnly(), &Kelvane::kHotkeyRpc};

/// A service on a thread of its own. Reads return `Record`, exchanges return what came.
class TestService {
  public:
    explicit TestService(std::map<unsigned, ServerProcedure> procedures = {}, ServerOptions options = {});
    ~TestService() { Stop(); }
    void Stop();

    std::optional<std::u16string> Record = u"AB";
    std::counting_semaphore<> RunDown{0};  ///< released when a context's state goes
    std::optional<rpc::Server> Server;

  private:
    std::thread m_thread;
};

/// A listener that answers each data unit that arrives with the next of `replies`, byte for byte; it closes
/// after the last one, or instead of an empty one.
class ScriptedService {
  public:
    explicit ScriptedService(std::vector<Bytes> replies);
    ~ScriptedService();
    std::vector<Bytes> Received;  ///< complete after Join
    void Join() { m_thread.join(); }

  private:
    ListeningSocket m_listener;
    std::thread m_thread;
};

/// A client's binding and context.
class Client {
  public:
    explicit Client(const InterfaceDescription& interface = Kelvane::kHotkeyRpc);
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
    const InterfaceDescription& m_interface;
};

/// A connection that sends and receives bytes as they are.
class RawClient {
  public:
    RawClient();
    void Send(ByteView bytes) { SendAll(m_socket.Get(), bytes); }
    void EndSending();
    /// The next data unit, header included; empty at the end of the connection.
    Bytes Receive();

  private:
    Descriptor m_socket;
    PduStream m_stream;
};

/// `pdu` with header and body as it stood on the wire.
Bytes WholePdu(const Pdu& pdu);

/// Calls `use` with every shorter version of `message` and with every byte of it damaged in several ways.
void ForEachDamage(const Bytes& message, const std::function<void(const Bytes&)>& use);

}  // namespace platform::rpc::test
