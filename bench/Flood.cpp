// kelvane-bench flood: how long a caller waits for the service's record while others flood it: users who may
// not call, and users who may, whose connections take as much of the service's memory as they can.

#include <grp.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "bench/Commands.h"
#include "bench/OpenedContext.h"
#include "platform/core/Text.h"
#include "platform/rpc/Ndr.h"
#include "platform/rpc/Pdu.h"
#include "platform/rpc/Socket.h"

namespace bench {

namespace {

namespace procedure = Kelvane::procedure;
using namespace platform::rpc;
using SteadyClock = std::chrono::steady_clock;

/// Above the user ids of people; unused on a usual machine.
constexpr uid_t kFirstStranger = 90'000;
constexpr uid_t kFirstAccepted = 80'000;

/// How many connections a flooding process tries to hold at once.
constexpr std::size_t kHeld = 300;

/// Of the accepted user's threads, besides the one that holds connections.
constexpr std::size_t kCallingThreads = 4;

/// A connection that sends what it likes.
class RawConnection {
  public:
    explicit RawConnection(const std::string& path) : m_socket(CreateSocket()) {
        Connect(m_socket.Get(), path, [] { return false; });
        LimitWaits(m_socket.Get(), std::chrono::milliseconds(500));
    }

    /// Whether the service serves this connection.
    bool Bind() {
        SendBind();
        return !Receive(PduType::BindAck).empty();
    }

    void SendBind() {
        Buffer bind;
        AppendBind(bind, PduType::Bind, 1, {.Elements = {{0, Kelvane::kHotkeyRpc.Id, {kNdr64}}}});
        SendAll(m_socket.Get(), bind);
    }

    /// False when the service does not take it.
    bool Send(procedure::Number number, const CallValues& values, std::size_t fragment = kFragmentSize) {
        Buffer request;
        BeginCall(request);
        Marshal(kTransferSyntaxes[1], Kelvane::kHotkeyRpc.Procedures[number], Direction::In, values, request);
        FinishCall(request, {.CallId = ++m_callId, .Operation = static_cast<std::uint16_t>(number)},
                   fragment);
        return SendAll(m_socket.Get(), request);
    }

    /// The body of the next message; empty when that has another type or does not come.
    Bytes Receive(PduType wanted) {
        while (true) {
            if (const auto pdu = m_stream.Next()) {
                return pdu->Type == wanted ? Bytes(pdu->Body.begin(), pdu->Body.end()) : Bytes();
            }
            const ssize_t size = ReceiveSome(m_socket.Get(), m_stream.Room());
            if (size <= 0) {
                return {};
            }
            m_stream.Received(static_cast<std::size_t>(size));
        }
    }

  private:
    platform::FileDescriptor m_socket;
    PduStream m_stream;
    std::uint32_t m_callId = 1;
};

/// Makes the service take as much memory for the connection as it does for any: contexts with the longest
/// texts, long messages, long requests in pieces, and answers that are not read.
void Burden(RawConnection& connection) {
    const Bytes characters(64'000, std::byte{'x'});
    CallValues values;
    const auto write = [&](std::size_t bytes, std::size_t fragment) {
        values.Parameters[0] = {.Number = static_cast<std::int64_t>(bytes / sizeof(char16_t)),
                                .Text = ByteView(characters).first(bytes)};
        connection.Send(procedure::WriteTextProc6, values, fragment);
        connection.Receive(PduType::Response);
    };
    while (true) {
        connection.Send(procedure::OpenContext, {});
        const Bytes response = connection.Receive(PduType::Response);
        if (response.empty()) {
            break;
        }
        values.Context =
            Cursor(ByteView(response).subspan(kCallHeaderSize - kHeaderSize), 0).Take<ContextHandle>();
        for (const std::size_t bytes : {4'000, 16'000, 64'000}) {  // what is too long is refused
            write(bytes, 0xFFF8);
            write(bytes, kFragmentSize);
        }
    }
    while (connection.Send(procedure::ReadTextProc7, values)) {
    }
}

/// Whatever the service does with a connection, the next one follows.
[[noreturn]] void Persist(const std::function<void()>& flood) {
    while (true) {
        try {
            flood();
        } catch (const std::exception&) {
        }
    }
}

/// Some of its connections ask, some say nothing; all are held until there are too many. Does not return.
void FloodAsStranger(const std::string& path) {
    std::deque<RawConnection> held;
    for (std::size_t count = 0;; ++count) {
        if (held.size() == kHeld) {
            held.pop_front();
        }
        RawConnection& connection = held.emplace_back(path);
        if (count % 2 == 0) {
            connection.SendBind();
        }
    }
}

void Call(const std::string& path) {
    RawConnection connection(path);
    connection.Bind();
    for (int call = 0; call < 1000 && connection.Send(procedure::OpenContext, {}); ++call) {
        connection.Receive(PduType::Response);
    }
}

/// First takes all the connections that it gets, then calls. Does not return.
void FloodAsAccepted(const std::string& path) {
    std::deque<RawConnection> held;
    for (bool refused = false;;) {
        RawConnection& connection = held.emplace_back(path);
        const bool served = connection.Bind();
        if (served) {
            Burden(connection);
        } else if (refused) {
            break;
        }
        refused = !served;
        // Some calls are allowed again.
        std::this_thread::sleep_for(std::chrono::milliseconds(served ? 50 : 1000));
    }
    std::vector<std::thread> calling;
    for (std::size_t i = 0; i < kCallingThreads; ++i) {
        calling.emplace_back([&] { Persist([&] { Call(path); }); });
    }
    calling.front().join();
}

/// A child process of another user that floods until this object is destroyed.
class Flooder {
  public:
    Flooder(uid_t user, gid_t group, const std::function<void()>& flood) : m_process(fork()) {
        if (m_process != 0) {
            return;
        }
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (setgroups(0, nullptr) == 0 && setgid(group) == 0 && setuid(user) == 0) {
            Persist(flood);
        }
        _exit(1);
    }
    Flooder(Flooder&& other) noexcept : m_process(std::exchange(other.m_process, -1)) {}
    ~Flooder() {
        if (m_process > 0) {
            kill(m_process, SIGKILL);
            waitpid(m_process, nullptr, 0);
        }
    }

  private:
    pid_t m_process;
};

/// The number after `name` in /proc/PID/status; 0 when the process has ended.
std::size_t StatusNumber(pid_t process, const std::string& name) {
    std::ifstream file("/proc/" + std::to_string(process) + "/status");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(name + ":")) {
            return std::strtoul(line.c_str() + name.size() + 1, nullptr, 10);
        }
    }
    return 0;
}

}  // namespace

int Flood(std::span<char* const> arguments) {
    std::array<std::size_t, 4> numbers{};
    for (std::size_t i = 0; i < numbers.size() && arguments.size() == numbers.size() + 1; ++i) {
        numbers[i] = std::strtoul(arguments[i + 1], nullptr, 10);
    }
    const auto service = static_cast<pid_t>(numbers[0]);
    const auto [strangers, accepted, seconds] = std::tuple(numbers[1], numbers[2], numbers[3]);
    if (seconds == 0 || geteuid() != 0) {
        std::fputs("kelvane-bench flood: needs root, and SOCKET, PID, STRANGERS, ACCEPTED and SECONDS\n",
                   stderr);
        return 2;
    }
    const std::filesystem::path socket = std::filesystem::absolute(arguments[0]);
    setenv("KELVANE_RPC_DIRECTORY", socket.parent_path().c_str(), 1);
    const auto endpoint = platform::FromUtf8(socket.filename().string());

    const auto group = static_cast<gid_t>(StatusNumber(service, "Gid"));
    std::vector<Flooder> flooders;
    for (std::size_t i = 0; i < accepted; ++i) {
        flooders.emplace_back(kFirstAccepted + i, group, [&] { FloodAsAccepted(socket); });
    }
    for (std::size_t i = 0; i < strangers; ++i) {
        flooders.emplace_back(kFirstStranger + i, kFirstStranger, [&] { FloodAsStranger(socket); });
    }

    std::vector<double> milliseconds;
    std::size_t threads = 0;
    std::map<Status, std::size_t> failures;
    const auto end = SteadyClock::now() + std::chrono::seconds(seconds);
    for (auto now = SteadyClock::now(); now < end;) {
        try {
            OpenedContext(endpoint).Read();
        } catch (const RpcException& exception) {
            ++failures[exception.Status()];
        }
        const auto last = std::exchange(now, SteadyClock::now());
        milliseconds.push_back(std::chrono::duration<double, std::milli>(now - last).count());
        threads = std::max(threads, StatusNumber(service, "Threads"));
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        now = SteadyClock::now();
    }
    std::ranges::sort(milliseconds);
    nlohmann::json line{{"strangers", strangers},
                        {"accepted", accepted},
                        {"conversations", milliseconds.size()},
                        {"conversation_median_ms", milliseconds[milliseconds.size() / 2]},
                        {"conversation_p99_ms", milliseconds[milliseconds.size() * 99 / 100]},
                        {"conversation_longest_ms", milliseconds.back()},
                        {"failures", nlohmann::json::object()},
                        {"service_lives", kill(service, 0) == 0},
                        {"service_threads_most", threads},
                        {"service_resident_most_kib", StatusNumber(service, "VmHWM")}};
    for (const auto& [status, count] : failures) {
        line["failures"][std::to_string(status)] = count;
    }
    std::puts(line.dump().c_str());
    return 0;
}

}  // namespace bench
