#include "daemon/service/Serve.h"

#include <signal.h>
#include <systemd/sd-daemon.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <exception>
#include <thread>
#include <utility>

#include "daemon/machine/MachineFiles.h"
#include "daemon/service/Callers.h"
#include "daemon/service/Log.h"
#include "daemon/service/Procedures.h"
#include "platform/core/Exception.h"
#include "platform/rpc/Server.h"
#include "service/DetailsRpc.h"
#include "service/HotkeyRpc.h"

namespace daemon_service {

namespace {

using namespace std::chrono_literals;
using platform::rpc::Server;
using platform::rpc::SocketCredentials;

constexpr std::chrono::seconds kUsualIdleExit = 120s;
constexpr std::chrono::seconds kStuck =
    60s;  // the longest honest call waits a few seconds for the system bus

/// Writes a line for each caller that is refused, a few a second at most: a flood must not fill the journal,
/// nor wait for it.
class RefusalLog {
  public:
    void Add(const SocketCredentials& caller) {
        const auto now = std::chrono::steady_clock::now();
        if (now - m_begin >= 1s) {
            if (m_count > kLines) {
                Log(Priority::Warning, "access denied: " + std::to_string(m_count - kLines) + " more times");
            }
            m_begin = now;
            m_count = 0;
        }
        if (++m_count <= kLines) {
            Log(Priority::Warning, "access denied: user " + std::to_string(caller.Uid) + " (process " +
                                       std::to_string(caller.Pid) + ") has no active session on a seat");
        }
    }

  private:
    static constexpr std::size_t kLines = 10;

    std::chrono::steady_clock::time_point m_begin;
    std::size_t m_count = 0;
};

// What the service takes at most must fit into MemoryMax of kelvane-service.service. docs/service.md says
// where the bytes of a connection go; `kelvane-bench flood` measures them.
constexpr std::size_t kKiB = 1024;
constexpr std::size_t kMaxConnections = 256;
constexpr std::size_t kMaxRefusals = 128;
constexpr std::size_t kConnectionBytes = 352 * kKiB;
constexpr std::size_t kRefusalBytes = 16 * kKiB;
constexpr std::size_t kOtherBytes = 16 * kKiB * kKiB;
constexpr std::size_t kMemoryMax = 128 * kKiB * kKiB;
static_assert(kMaxConnections * kConnectionBytes + kMaxRefusals * kRefusalBytes + kOtherBytes < kMemoryMax);

/// Generous for any number of windows, small against a flood.
platform::rpc::ServerOptions Limits(Procedures& procedures) {
    platform::rpc::ServerOptions limits;
    limits.Accept = [&procedures, refusals = RefusalLog()](const SocketCredentials& caller) mutable {
        const bool may = procedures.MayCall(caller);
        if (!may) {
            refusals.Add(caller);
        }
        return may;
    };
    limits.Exhausted = [](const std::string& why) {
        Log(Priority::Warning, "a client could not be served (" + why +
                                   "); raise the service's limits or end what uses them up");
    };
    limits.MaxRequestBytes = 16 * kKiB;
    limits.MaxConnections = kMaxConnections;
    limits.MaxConnectionsPerUser = 32;
    limits.MaxRefusals = kMaxRefusals;
    limits.MaxContextsPerConnection = 4;
    limits.MaxUnreadBytes = 16 * kKiB;
    limits.MaxCallsPerSecond = 1000;
    limits.IdleClose = 30s;
    return limits;
}

/// Blocks the signals that end the service for this thread and all that it creates, so that one place takes
/// them.
sigset_t BlockEndingSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    signal(SIGPIPE, SIG_IGN);
    signal(SIGCHLD, SIG_IGN);  // the kernel reaps the tools that were started
    return signals;
}

/// True for a signal that ends the service, false when `limit` has passed.
bool WaitForEnd(const sigset_t& signals, std::chrono::milliseconds limit) {
    const timespec time{.tv_sec = limit.count() / 1000, .tv_nsec = limit.count() % 1000 * 1'000'000};
    return sigtimedwait(&signals, nullptr, &time) > 0;
}

/// Watches over the running server on the main thread: feeds the watchdog as long as no call is stuck, and
/// returns on a signal or when idle.
void Supervise(const Server& server, const Procedures& procedures, const sigset_t& signals,
               std::chrono::seconds idleExit) {
    std::uint64_t watchdogMicroseconds = 0;
    const bool watchdog = sd_watchdog_enabled(0, &watchdogMicroseconds) > 0;
    std::chrono::milliseconds step = 60s;
    if (watchdog) {
        step = std::min(step, std::chrono::milliseconds(watchdogMicroseconds / 2000));
    }
    if (idleExit > 0s) {
        step = std::min<std::chrono::milliseconds>(step, idleExit / 4.0 < 1s ? 250ms : 5s);
    }
    auto busy = std::chrono::steady_clock::now();
    std::string reported;
    while (!WaitForEnd(signals, step)) {
        const auto now = std::chrono::steady_clock::now();
        const std::string status = "STATUS=" + std::to_string(server.Connections()) + " connections, " +
                                   std::to_string(server.OpenContexts()) + " open contexts";
        if (std::exchange(reported, status) != status) {
            sd_notify(0, status.c_str());
        }
        if (watchdog && procedures.OldestCall() < kStuck) {
            sd_notify(0, "WATCHDOG=1");
        }
        if (server.Connections() != 0) {
            busy = now;
        } else if (idleExit > 0s && now - busy >= idleExit) {
            Log(Priority::Information, "idle; ending until the next client comes");
            return;
        }
    }
    Log(Priority::Information, "asked to end");
}

}  // namespace

int Serve(const Options& options) {
    const sigset_t signals = BlockEndingSignals();
    if (options.Directory) {
        setenv("KELVANE_RPC_DIRECTORY", options.Directory->c_str(), 1);
    }
    const MachineFiles files(options.Sysroot);  // says at once when it cannot be opened

    const int sockets = sd_listen_fds(1);
    Procedures procedures(options, sockets > 0);
    Server server(Kelvane::kHotkeyRpc, procedures.Table(), Limits(procedures));
    if (auto details = procedures.DetailsTable(); !details.empty()) {
        server.Add(Kelvane::kDetailsRpc, std::move(details));
    }
    if (sockets > 0) {
        for (int i = 0; i < sockets; ++i) {
            server.Adopt(SD_LISTEN_FDS_START + i);
        }
    } else {
        server.Listen(Kelvane::kEndpoint);
    }

    std::exception_ptr failure;
    std::jthread serving([&] {
        try {
            server.Run();
        } catch (...) {
            failure = std::current_exception();
            kill(getpid(), SIGTERM);
        }
    });
    sd_notify(0, "READY=1");
    Log(Priority::Information, sockets > 0 ? "serving the service manager's socket"
                                           : "serving at " + platform::rpc::EndpointPath(Kelvane::kEndpoint));
    const auto idleExit = options.IdleExit.value_or(sockets > 0 ? kUsualIdleExit : 0s);
    Supervise(server, procedures, signals, idleExit);
    sd_notify(0, "STOPPING=1");
    server.Stop();
    serving.join();
    if (failure) {
        std::rethrow_exception(failure);
    }
    return EXIT_SUCCESS;
}

}  // namespace daemon_service
