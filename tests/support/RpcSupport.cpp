#include "tests/support/RpcSupport.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "service/DetailsRpc.h"

namespace platform::rpc::test {

namespace procedure = Kelvane::procedure;

Bytes FromHex(std::string_view hex) {
    Bytes bytes(hex.size() / 2);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        unsigned value = 0;
        std::from_chars(hex.data() + 2 * i, hex.data() + 2 * i + 2, value, 16);
        bytes[i] = static_cast<std::byte>(value);
    }
    return bytes;
}

std::string ToHex(ByteView bytes) {
    std::string hex;
    for (const std::byte byte : bytes) {
        hex += "0123456789abcdef"[std::to_integer<unsigned>(byte) >> 4];
        hex += "0123456789abcdef"[std::to_integer<unsigned>(byte) & 15];
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

void Feed(PduStream& stream, ByteView bytes, const std::function<void(const Pdu&)>& use) {
    while (!bytes.empty()) {
        const auto room = stream.Room();
        const ByteView part = bytes.first(std::min(room.size(), bytes.size()));
        std::ranges::copy(part, room.begin());
        stream.Received(part.size());
        bytes = bytes.subspan(part.size());
        while (const auto pdu = stream.Next()) {
            use(*pdu);
        }
    }
}

// Not below TMPDIR: a socket's path has room for 107 characters, and other users must get there.
EndpointScope::EndpointScope() : m_directory("/tmp/kelvane-rpc-XXXXXX") {
    if (mkdtemp(m_directory.data()) == nullptr) {
        std::abort();
    }
    setenv("KELVANE_RPC_DIRECTORY", m_directory.c_str(), 1);
}

EndpointScope::~EndpointScope() {
    std::filesystem::remove_all(m_directory);
}

std::vector<ServerProcedure> EchoProcedures() {
    std::vector<ServerProcedure> all(procedure::Count, [](ServerCall& call) { call.SetText(0, u"AB"); });
    all[procedure::OpenContext] = [](ServerCall& call) { call.SetContext(std::make_shared<int>()); };
    all[procedure::CloseContext] = [](ServerCall& call) { call.SetContext(nullptr); };
    all[procedure::ExchangeTextProc8] = [](ServerCall& call) {
        const auto& text = call.Text(0);
        call.SetRawText(1, text ? static_cast<std::int32_t>(text->size()) : 0, text);
    };
    all[procedure::CommandWithCallbackProc11] = [](ServerCall& call) {
        call.InvokeCallback(call.Long(0), call.Text(1).value_or(u"none").c_str(), call.Hyper(3));
        call.SetText(2, u"done");
    };
    return all;
}

TestService::TestService(std::map<unsigned, ServerProcedure> procedures, ServerOptions options,
                         ServerProcedure readDetails) {
    auto all = EchoProcedures();
    all[procedure::OpenContext] = [this](ServerCall& call) {
        call.SetContext(
            std::shared_ptr<void>(this, [](TestService* service) { service->RunDown.release(); }));
    };
    all[procedure::ReadSysInfo] = all[procedure::ReadUSBTypeCInfo] =
        all[procedure::SetUEFIFlag] = [this](ServerCall& call) { call.SetText(0, Record); };
    for (auto& [number, body] : procedures) {
        all[number] = std::move(body);
    }
    Server.emplace(Kelvane::kHotkeyRpc, std::move(all), std::move(options));
    if (readDetails) {
        Server->Add(Kelvane::kDetailsRpc, {std::move(readDetails), [](ServerCall&) {}});
    }
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

RawClient::RawClient() : m_socket(CreateSocket()) {
    Connect(m_socket.Get(), EndpointScope::Socket(), [] { return false; });
    LimitWaits(m_socket.Get(), std::chrono::seconds(60));
}

RawClient RawClient::Accept(const ListeningSocket& listener) {
    pollfd wait{.fd = listener.Get(), .events = POLLIN, .revents = 0};
    poll(&wait, 1, -1);
    return RawClient(FileDescriptor(accept4(listener.Get(), nullptr, nullptr, SOCK_CLOEXEC)));
}

Bytes RawClient::ReceiveLast() {
    shutdown(m_socket.Get(), SHUT_WR);
    Bytes last;
    for (Bytes pdu = Receive(); !pdu.empty(); pdu = Receive()) {
        last.swap(pdu);
    }
    return last;
}

Bytes RawClient::Receive() {
    std::optional<Pdu> pdu;
    while (!(pdu = m_stream.Next())) {
        const ssize_t size = ReceiveSome(m_socket.Get(), m_stream.Room());
        if (size < 0 && errno == EAGAIN) {
            throw std::runtime_error("the service neither answers nor closes the connection");
        }
        if (size <= 0) {
            return {};
        }
        m_stream.Received(static_cast<std::size_t>(size));
    }
    return {pdu->Body.data() - kHeaderSize, pdu->Body.data() + pdu->Body.size()};
}

ScriptedService::ScriptedService(std::vector<Bytes> replies) {
    m_thread = std::thread([this, replies = std::move(replies)] {
        RawClient client = RawClient::Accept(m_listener);
        for (const Bytes& reply : replies) {
            Received.push_back(client.Receive());
            client.Send(reply);
        }
        client.ReceiveLast();
    });
}

void ScriptedService::Join() {
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

Client::Client(bool ndrOnly) {
    m_interface.Flags &= ndrOnly ? ~interface_flag::kHasMultipleTransferSyntaxes : ~0U;
    char16_t* string = nullptr;
    RpcStringBindingComposeW(nullptr, Kelvane::kProtocolSequence, nullptr, Kelvane::kEndpoint, nullptr,
                             &string);
    RpcBindingFromStringBindingW(string, &Binding);
    RpcStringFreeW(&string);
}

namespace {

/// A call's counted text on its way out, then released.
struct OutText {
    std::optional<std::u16string> Take() {
        if (Text == nullptr) {
            return std::nullopt;
        }
        const std::u16string taken(Text, static_cast<std::size_t>(Length));
        Kelvane::midl_user_free(Text);
        return taken;
    }
    std::int32_t Length = 0;
    char16_t* Text = nullptr;
};

}  // namespace

std::optional<std::u16string> Client::Read(unsigned procedure) {
    OutText out;
    NdrClientCall3(m_interface, procedure, {Context, &out.Length, &out.Text});
    return out.Take();
}

std::optional<std::u16string> Client::Exchange(std::optional<std::u16string> text) {
    auto length = static_cast<std::int32_t>(text ? text->size() : 0);
    char16_t* in = text ? text->data() : nullptr;
    OutText out;
    NdrClientCall3(m_interface, procedure::ExchangeTextProc8,
                   {Context, &length, &in, &out.Length, &out.Text});
    return out.Take();
}

std::optional<std::u16string> Client::Command(std::int32_t code, std::u16string text,
                                              Kelvane::CallbackFunction callback) {
    auto length = static_cast<std::int32_t>(text.size() + 1);
    char16_t* in = text.data();
    OutText out;
    NdrClientCall3(
        m_interface, procedure::CommandWithCallbackProc11,
        {Context, code, &length, &in, &out.Length, &out.Text, reinterpret_cast<std::int64_t>(callback)});
    return out.Take();
}

}  // namespace platform::rpc::test
