#include <poll.h>
#include <sched.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <functional>
#include <list>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "bench/Commands.h"
#include "bench/OpenedContext.h"
#include "bench/OwnService.h"
#include "bench/TemporaryDirectory.h"
#include "platform/core/Text.h"
#include "service/RpcClient.h"

namespace bench {

namespace {

namespace procedure = Kelvane::procedure;
using namespace platform::rpc;
using SteadyClock = std::chrono::steady_clock;

constexpr std::size_t kHandleSize = 20;

struct Times {
    /// Microseconds that each run took, sorted.
    std::vector<double> Runs;
    /// Microseconds of processor time of the calling thread, per run.
    double Cpu = 0;
};

double ThreadCpu() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
}

/// Runs both in turn, so that what else the machine does meets both.
std::array<Times, 2> MeasureInTurn(std::size_t runs, const std::function<void()>& ours,
                                   const std::function<void()>& plain) {
    constexpr std::size_t kTurn = 50;
    std::array<Times, 2> both;
    for (std::size_t done = 0; done < runs; done += kTurn) {
        for (auto& [times, body] : {std::pair(&both[0], &ours), std::pair(&both[1], &plain)}) {
            const double cpu = ThreadCpu();
            for (std::size_t i = done; i < std::min(runs, done + kTurn); ++i) {
                const auto start = SteadyClock::now();
                (*body)();
                times->Runs.push_back(
                    std::chrono::duration<double, std::micro>(SteadyClock::now() - start).count());
            }
            times->Cpu += (ThreadCpu() - cpu) / static_cast<double>(runs);
        }
    }
    for (auto& times : both) {
        std::ranges::sort(times.Runs);
    }
    return both;
}

/// Where both ends run, since a call to the other processor costs several times as much; anywhere if not
/// given.
struct Processors {
    std::optional<unsigned> Caller{};
    std::optional<unsigned> Service{};

    /// For the calling thread, and those that it starts from here on.
    static void StayOn(const std::optional<unsigned>& processor) {
        cpu_set_t only;
        CPU_ZERO(&only);
        CPU_SET(processor.value_or(0), &only);
        if (processor && sched_setaffinity(0, sizeof only, &only) != 0) {
            throw std::runtime_error("there is no processor " + std::to_string(*processor));
        }
    }
};

double Percentile(const std::vector<double>& sorted, std::size_t percent) {
    return sorted[std::min(sorted.size() - 1, sorted.size() * percent / 100)];
}

/// Bytes there and back.
struct Exchange {
    std::size_t Request;
    std::size_t Response;
};

/// A service that knows only how many bytes are asked and answered, with a thread for each connection like
/// ours.
class PlainService {
  public:
    /// Until the client closes, the exchanges are repeated.
    PlainService(std::vector<Exchange> exchanges, const Processors& processors)
        : m_exchanges(std::move(exchanges)),
          m_listener(m_directory.Path() + "/plain"),
          m_thread([this, processor = processors.Service] {
              Processors::StayOn(processor);
              Run();
          }) {}
    ~PlainService() {
        m_ending = true;
        Open();
    }
    PlainService(const PlainService&) = delete;
    PlainService& operator=(const PlainService&) = delete;

    platform::FileDescriptor Open() const {
        sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
        (m_directory.Path() + "/plain").copy(address.sun_path, sizeof address.sun_path - 1);
        platform::FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        if (connect(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
            throw std::runtime_error("cannot connect to the plain service");
        }
        return socket;
    }

    void Converse(int socket) const {
        std::vector<std::byte> bytes;
        for (const auto& exchange : m_exchanges) {
            bytes.resize(exchange.Request);
            SendAll(socket, bytes);
            bytes.resize(exchange.Response);
            if (!ReceiveAll(socket, bytes)) {
                throw std::runtime_error("the plain exchange broke off");
            }
        }
    }

  private:
    /// False when the other end has closed.
    static bool ReceiveAll(int socket, std::span<std::byte> room) {
        while (!room.empty()) {
            const ssize_t size = ReceiveSome(socket, room);
            if (size <= 0) {
                return false;
            }
            room = room.subspan(static_cast<std::size_t>(size));
        }
        return true;
    }

    void Serve(int socket) const {
        std::vector<std::byte> bytes;
        while (true) {
            for (const auto& exchange : m_exchanges) {
                bytes.resize(exchange.Request);
                if (!ReceiveAll(socket, bytes)) {
                    return;
                }
                bytes.resize(exchange.Response);
                SendAll(socket, bytes);
            }
        }
    }

    void Run() {
        std::list<std::jthread> served;
        while (true) {
            pollfd wait{.fd = m_listener.Get(), .events = POLLIN, .revents = 0};
            poll(&wait, 1, -1);
            platform::FileDescriptor socket(accept4(m_listener.Get(), nullptr, nullptr, SOCK_CLOEXEC));
            if (m_ending) {
                return;
            }
            served.emplace_back([this, socket = std::move(socket)] { Serve(socket.Get()); });
        }
    }

    const TemporaryDirectory m_directory;
    const std::vector<Exchange> m_exchanges;
    const ListeningSocket m_listener;
    std::atomic<bool> m_ending = false;
    const std::jthread m_thread;
};

void WholeConversation(const std::u16string& endpoint) {
    OpenedContext context(endpoint);
    context.Read();
    NdrClientCall3(Kelvane::kHotkeyRpc, procedure::CloseContext, {&context.Context});
}

/// Prints the line.
void MeasureLink(const std::u16string& endpoint, std::size_t calls, std::size_t conversations,
                 const Processors& processors) {
    const OpenedContext context(endpoint);
    const std::size_t characters = context.Read();
    // NDR64: length, padding, referent and count before the characters.
    const Exchange read{.Request = kCallHeaderSize + kHandleSize,
                        .Response = kCallHeaderSize + 24 + 2 * characters};
    const std::vector<Exchange> conversation = {
        {.Request = 116, .Response = 80},
        {.Request = kCallHeaderSize, .Response = kCallHeaderSize + kHandleSize},
        read,
        {.Request = kCallHeaderSize + kHandleSize, .Response = kCallHeaderSize + kHandleSize}};

    nlohmann::ordered_json line{{"calls", calls}, {"conversations", conversations}};
    const auto compare = [&line](const char* name, const std::array<Times, 2>& both) {
        const auto& [ours, plain] = both;
        line[name] = {{"median_us", Percentile(ours.Runs, 50)},
                      {"p99_us", Percentile(ours.Runs, 99)},
                      {"cpu_us", ours.Cpu},
                      {"plain_median_us", Percentile(plain.Runs, 50)},
                      {"plain_p99_us", Percentile(plain.Runs, 99)},
                      {"plain_cpu_us", plain.Cpu},
                      {"median_ratio", Percentile(ours.Runs, 50) / Percentile(plain.Runs, 50)},
                      {"cpu_ratio", ours.Cpu / plain.Cpu}};
    };
    {
        const PlainService service({read}, processors);
        const auto socket = service.Open();
        compare("call", MeasureInTurn(
                            calls, [&] { context.Read(); }, [&] { service.Converse(socket.Get()); }));
    }
    const PlainService service(conversation, processors);
    compare("conversation", MeasureInTurn(
                                conversations, [&] { WholeConversation(endpoint); },
                                [&] { service.Converse(service.Open().Get()); }));
    std::printf("%s\n", line.dump().c_str());
}

}  // namespace

int Rpc(std::span<char* const> arguments) {
    std::array<std::size_t, 4> numbers{};
    for (std::size_t i = 1; i < std::min(arguments.size(), numbers.size() + 1); ++i) {
        numbers[i - 1] = std::strtoul(arguments[i], nullptr, 10);
    }
    const auto& [calls, conversations, caller, serving] = numbers;
    if ((arguments.size() != 3 && arguments.size() != 5) || calls == 0 || conversations == 0) {
        std::fputs(
            "kelvane-bench rpc: needs SOCKET (or 'self'), CALLS and CONVERSATIONS, both above 0, and may "
            "have "
            "the processors CALLER and SERVICE\n",
            stderr);
        return 2;
    }
    Processors processors;
    if (arguments.size() == 5) {
        processors = {static_cast<unsigned>(caller), static_cast<unsigned>(serving)};
    }
    std::optional<OwnService> service;
    const bool isOwn = std::string_view(arguments[0]) == "self";
    if (isOwn) {
        Processors::StayOn(processors.Service);
        service.emplace();
    }
    Processors::StayOn(processors.Caller);
    const std::filesystem::path socket = isOwn ? service->Socket() : std::filesystem::absolute(arguments[0]);
    setenv("KELVANE_RPC_DIRECTORY", socket.parent_path().c_str(), 1);
    const std::u16string endpoint = platform::FromUtf8(socket.filename().string());

    try {
        MeasureLink(endpoint, calls, conversations, processors);
    } catch (const RpcException& exception) {
        if (exception.Status() == status::kServerTooBusy) {
            throw std::runtime_error("the service allows fewer calls a second; measure fewer, or 'self'");
        }
        throw;
    }
    return 0;
}

}  // namespace bench
