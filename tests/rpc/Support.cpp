#include "tests/rpc/Support.h"

#include <poll.h>
#include <sys/socket.h>

#include <cstdlib>
#include <filesystem>

namespace platform::rpc::test {

Bytes FromHex(std::string_view hex) {
    Bytes bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
        bytes.push_back(static_cast<std::byte>(std::stoi(std::string(hex.substr(i, 2)), nullptr, 16)));
    }
    return bytes;
}

std::string ToHex(ByteView bytes) {
    std::string hex;
    for (const std::byte byte : bytes) {
        constexpr std::string_view kDigits = "0123456789abcdef";
        hex += kDigits[std::to_integer<unsigned>(byte) >> 4];
        hex += kDigits[std::to_integer<unsigned>(byte) & 15];
    }
    return hex;
}

Status StatusOf(const std::function<void()>& body) {
    try {
        body();
        return status::kOk;
    } catch (const RpcException& exception) {
        return exception.Status();
    }
}

EndpointScope::EndpointScope()
    : m_directory((std::filesystem::temp_directory_path() / "kelvane-rpc-XXXXXX")) {
    if (mkdtemp(m_directory.data()) == nullptr) {
        std::abort();
    }
    setenv("KELVANE_RPC_DIRECTORY", m_directory.c_str(), 1);
}

EndpointScope::~EndpointScope() {
    std::error_code ignored;
    std::filesystem::remove_all(m_directory, ignored);
}

std::string EndpointScope::Socket() {
    return EndpointPath(Kelvane::kEndpoint);
}

const InterfaceDescription& NdrOnly() {
    static const InterfaceDescription description = [] {
        InterfaceDescription copy = Kelvane::kHotkeyRpc;
        copy.Flags &= ~interface_flag::kHasMultipleTransferSyntaxes;
        return copy;
    }();
    return description;
}

TestService::TestService(std::map<unsigned, ServerProcedure> procedures, ServerOptions options) {
    std::vector<ServerProcedure> all(Kelvane::procedure::Count, [](ServerCall&) {});
    all[0] = [this](ServerCall& call) {
        call.SetContext(
            std::shared_ptr<void>(this, [](TestService* service) { service->RunDown.release(); }));
    };
    all[1] = [](ServerCall& call) { call.SetContext(nullptr); };
    all[4] = all[5] = all[12] = [this](ServerCall& call) { call.SetText(0, Record); };
    all[8] = [](ServerCall& call) {
        const auto& text = call.Text(0);
        call.SetRawText(1, text ? static_cast<std::int32_t>(text->size()) : 0, text);
    };
    all[11] = [](ServerCall& call) {
        call.InvokeCallback(call.Long(0), call.Text(1)->c_str(), call.Hyper(3));
        call.SetText(2, u"done");
    };
    for (auto& [number, procedure] : procedures) {
        all[number] = std::move(procedure);
    }
    Server.emplace(Kelvane::kHotkeyRpc, std::move(all), std::move(options));
    Server->Listen(Kelvane::kEndpoint);
    m_thread = std::thread([this] { Server->Run(); });
}

void TestService::Stop() {
    if (m_thread.joinable()) {
        Server->Stop();
        m_thread.join();
        Server.reset();
    }
}

ScriptedService::ScriptedService(std::vector<Bytes> replies) : m_listener(EndpointScope::Socket()) {
    m_thread = std::thread([this, replies = std::move(replies)] {
        pollfd wait{.fd = m_listener.Get(), .events = POLLIN, .revents = 0};
        poll(&wait, 1, -1);
        const Descriptor socket(accept4(m_listener.Get(), nullptr, nullptr, SOCK_CLOEXEC));
        PduStream stream;
        for (const Bytes& reply : replies) {
            std::optional<Pdu> pdu;
            while (!(pdu = stream.Next())) {
                const ssize_t size = ReceiveSome(socket.Get(), stream.Room());
                if (size <= 0) {
                    return;
                }
                stream.Received(static_cast<std::size_t>(size));
            }
            Received.push_back(WholePdu(*pdu));
            if (reply.empty()) {
                return;
            }
            SendAll(socket.Get(), reply);
        }
    });
}

ScriptedService::~ScriptedService() {
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

Client::Client(const InterfaceDescription& interface) : m_interface(interface) {
    char16_t* string = nullptr;
    RpcStringBindingComposeW(nullptr, Kelvane::kProtocolSequence, nullptr, Kelvane::kEndpoint, nullptr,
                             &string);
    RpcBindingFromStringBindingW(string, &Binding);
    RpcStringFreeW(&string);
}

namespace {

/// What a call returned, released.
std::optional<std::u16string> TakeText(std::int32_t length, char16_t* text) {
    if (text == nullptr) {
        return std::nullopt;
    }
    const std::u16string taken(text, static_cast<std::size_t>(length));
    Kelvane::midl_user_free(text);
    return taken;
}

}  // namespace

std::optional<std::u16string> Client::Read(unsigned procedure) {
    std::int32_t length = 0;
    char16_t* text = nullptr;
    NdrClientCall3(m_interface, procedure, {Context, &length, &text});
    return TakeText(length, text);
}

std::optional<std::u16string> Client::Exchange(std::optional<std::u16string> text) {
    auto inLength = static_cast<std::int32_t>(text ? text->size() : 0);
    char16_t* in = text ? text->data() : nullptr;
    std::int32_t length = 0;
    char16_t* out = nullptr;
    NdrClientCall3(m_interface, Kelvane::procedure::ExchangeTextProc8,
                   {Context, &inLength, &in, &length, &out});
    return TakeText(length, out);
}

std::optional<std::u16string> Client::Command(std::int32_t code, std::u16string text,
                                              Kelvane::CallbackFunction callback) {
    auto inLength = static_cast<std::int32_t>(text.size() + 1);
    char16_t* in = text.data();
    std::int32_t length = 0;
    char16_t* out = nullptr;
    NdrClientCall3(m_interface, Kelvane::procedure::CommandWithCallbackProc11,
                   {Context, code, &inLength, &in, &length, &out, reinterpret_cast<std::int64_t>(callback)});
    return TakeText(length, out);
}

RawClient::RawClient() : m_socket(CreateSocket()) {
    Connect(m_socket.Get(), EndpointScope::Socket(), [] { return false; });
}

void RawClient::EndSending() {
    shutdown(m_socket.Get(), SHUT_WR);
}

Bytes RawClient::Receive() {
    std::optional<Pdu> pdu;
    while (!(pdu = m_stream.Next())) {
        const ssize_t size = ReceiveSome(m_socket.Get(), m_stream.Room());
        if (size <= 0) {
            return {};
        }
        m_stream.Received(static_cast<std::size_t>(size));
    }
    return WholePdu(*pdu);
}

Bytes WholePdu(const Pdu& pdu) {
    return {pdu.Body.data() - kHeaderSize, pdu.Body.data() + pdu.Body.size()};
}

void ForEachDamage(const Bytes& message, const std::function<void(const Bytes&)>& use) {
    for (std::size_t length = 0; length < message.size(); ++length) {
        use(Bytes(message.begin(), message.begin() + static_cast<std::ptrdiff_t>(length)));
    }
    for (std::size_t i = 0; i < message.size(); ++i) {
        for (const unsigned mask : {0x01U, 0x80U, 0xFFU}) {
            Bytes damaged = message;
            damaged[i] ^= static_cast<std::byte>(mask);
            use(damaged);
        }
    }
}

}  // namespace platform::rpc::test
