#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "bench/Commands.h"
#include "bench/OpenedContext.h"
#include "bench/TemporaryDirectory.h"
#include "platform/core/Text.h"
#include "platform/rpc/Server.h"
#include "service/RpcClient.h"

namespace bench {

namespace {

namespace procedure = Kelvane::procedure;
using namespace platform::rpc;
using SteadyClock = std::chrono::steady_clock;

constexpr std::size_t kHandleSize = 20;

/// Microseconds that each run of `body` took, sorted.
std::vector<double> Measure(std::size_t runs, const std::function<void()>& body) {
    std::vector<double> times(runs);
    for (double& time : times) {
        const auto start = SteadyClock::now();
        body();
        time = std::chrono::duration<double, std::micro>(SteadyClock::now() - start).count();
    }
    std::ranges::sort(times);
    return times;
}

double Percentile(const std::vector<double>& sorted, std::size_t percent) {
    return sorted[std::min(sorted.size() - 1, sorted.size() * percent / 100)];
}

double Sum(const std::vector<double>& times) {
    double sum = 0;
    for (const double time : times) {
        sum += time;
    }
    return sum;
}

/// A service of this process, for a run without another one.
class OwnService {
  public:
    OwnService() : m_server(Kelvane::kHotkeyRpc, Procedures()) {
        m_server.Listen(Kelvane::kEndpoint);
        m_thread = std::jthread([this] { m_server.Run(); });
    }
    ~OwnService() { m_server.Stop(); }
    OwnService(const OwnService&) = delete;
    OwnService& operator=(const OwnService&) = delete;

  private:
    static std::vector<ServerProcedure> Procedures() {
        std::vector<ServerProcedure> procedures(procedure::Count, [](ServerCall&) {});
        procedures[procedure::OpenContext] = [](ServerCall& call) {
            call.SetContext(std::make_shared<int>());
        };
        procedures[procedure::CloseContext] = [](ServerCall& call) { call.SetContext(nullptr); };
        procedures[procedure::ReadSysInfo] = [](ServerCall& call) {
            call.SetText(0, std::u16string(300, u'x'));
        };
        return procedures;
    }

    Server m_server;
    std::jthread m_thread;
};

void ReceiveAll(int socket, std::span<std::byte> room) {
    while (!room.empty()) {
        const ssize_t size = ReceiveSome(socket, room);
        if (size <= 0) {
            throw std::runtime_error("the plain exchange broke off");
        }
        room = room.subspan(static_cast<std::size_t>(size));
    }
}

/// Exchanges `requestSize` bytes for `responseSize` bytes with another thread over the same kind of socket.
std::vector<double> MeasurePlain(std::size_t runs, std::size_t requestSize, std::size_t responseSize) {
    const TemporaryDirectory directory;
    const std::string path = directory.Path() + "/plain";
    const ListeningSocket listener(path);
    const platform::FileDescriptor socket = CreateSocket();
    Connect(socket.Get(), path, [] { return false; });
    pollfd wait{.fd = listener.Get(), .events = POLLIN, .revents = 0};
    poll(&wait, 1, -1);
    const std::jthread echo(
        [&, other = platform::FileDescriptor(accept4(listener.Get(), nullptr, nullptr, SOCK_CLOEXEC))] {
            std::vector<std::byte> request(requestSize);
            const std::vector<std::byte> response(responseSize);
            for (std::size_t i = 0; i < runs; ++i) {
                ReceiveAll(other.Get(), request);
                SendAll(other.Get(), response);
            }
        });
    const std::vector<std::byte> request(requestSize);
    std::vector<std::byte> response(responseSize);
    return Measure(runs, [&] {
        SendAll(socket.Get(), request);
        ReceiveAll(socket.Get(), response);
    });
}

void WholeConversation(const std::u16string& endpoint) {
    OpenedContext context(endpoint);
    context.Read();
    NdrClientCall3(Kelvane::kHotkeyRpc, procedure::CloseContext, {&context.Context});
}

/// Prints the line.
void MeasureLink(const std::u16string& endpoint, std::size_t calls, std::size_t conversations) {
    const OpenedContext context(endpoint);
    const std::size_t characters = context.Read();
    // NDR64: length, padding, referent and count before the characters.
    const std::size_t requestSize = kCallHeaderSize + kHandleSize;
    const std::size_t responseSize = kCallHeaderSize + 24 + 2 * characters;

    const auto callTimes = Measure(calls, [&] { context.Read(); });
    const auto plainTimes = MeasurePlain(calls, requestSize, responseSize);
    const auto conversationTimes = Measure(conversations, [&] { WholeConversation(endpoint); });
    const double callMedian = Percentile(callTimes, 50);
    const double plainMedian = Percentile(plainTimes, 50);
    std::printf(
        "{\"calls\": %zu, \"request_bytes\": %zu, \"response_bytes\": %zu, \"call_median_us\": %.2f, "
        "\"call_p99_us\": %.2f, \"calls_per_second\": %.0f, \"plain_median_us\": %.2f, \"plain_p99_us\": "
        "%.2f, "
        "\"call_to_plain_median\": %.3f, \"call_to_plain_p99\": %.3f, \"conversation_median_us\": %.2f, "
        "\"conversation_to_plain_median\": %.3f}\n",
        calls, requestSize, responseSize, callMedian, Percentile(callTimes, 99),
        static_cast<double>(calls) * 1e6 / Sum(callTimes), plainMedian, Percentile(plainTimes, 99),
        callMedian / plainMedian, Percentile(callTimes, 99) / Percentile(plainTimes, 99),
        Percentile(conversationTimes, 50), Percentile(conversationTimes, 50) / plainMedian);
}

}  // namespace

int Rpc(std::span<char* const> arguments) {
    const std::size_t calls = arguments.size() == 3 ? std::strtoul(arguments[1], nullptr, 10) : 0;
    const std::size_t conversations = arguments.size() == 3 ? std::strtoul(arguments[2], nullptr, 10) : 0;
    if (calls == 0 || conversations == 0) {
        std::fputs("kelvane-bench rpc: needs SOCKET (or 'self'), CALLS and CONVERSATIONS, both above 0\n",
                   stderr);
        return 2;
    }
    std::optional<TemporaryDirectory> directory;
    std::optional<OwnService> service;
    std::filesystem::path socket = std::filesystem::absolute(arguments[0]);
    if (std::string_view(arguments[0]) == "self") {
        socket = directory.emplace().Path() + "/" + platform::ToUtf8(Kelvane::kEndpoint);
    }
    setenv("KELVANE_RPC_DIRECTORY", socket.parent_path().c_str(), 1);
    if (directory) {
        service.emplace();
    }
    const std::u16string endpoint = platform::FromUtf8(socket.filename().string());

    try {
        MeasureLink(endpoint, calls, conversations);
    } catch (const RpcException& exception) {
        if (exception.Status() == status::kServerTooBusy) {
            throw std::runtime_error("the service allows fewer calls a second; measure fewer, or 'self'");
        }
        throw;
    }
    return 0;
}

}  // namespace bench
