// kelvane-bench growth: what a long life costs: the memory of this process after each tenth of many log
// messages, and of many sessions with a service of its own.

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <nlohmann/json.hpp>
#include <vector>

#include "bench/Commands.h"
#include "bench/OpenedContext.h"
#include "bench/OwnService.h"
#include "bench/TemporaryDirectory.h"
#include "platform/diagnostics/FileLoggingSession.h"
#include "platform/storage/StorageFile.h"

namespace bench {

namespace {

constexpr std::size_t kParts = 10;

double ResidentMiB() {
    std::size_t total = 0;
    std::size_t resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / (1024 * 1024);
}

/// The memory after each tenth of `count` times `body`.
std::vector<double> MemoryAfter(std::size_t count, const std::function<void()>& body) {
    std::vector<double> memory;
    for (std::size_t part = 0; part < kParts; ++part) {
        for (std::size_t i = count * part / kParts; i < count * (part + 1) / kParts; ++i) {
            body();
        }
        memory.push_back(ResidentMiB());
    }
    return memory;
}

nlohmann::ordered_json LogMessages(std::size_t messages) {
    const TemporaryDirectory folder;
    std::atomic<std::size_t> files = 0;
    const auto channel = std::make_shared<platform::LoggingChannel>(u"Kelvane_Channel");
    std::vector<double> memory;
    {
        const auto session =
            std::make_shared<platform::FileLoggingSession>(u"Bench", std::filesystem::path(folder.Path()));
        session->LogFileGenerated().Add([&files](auto&, platform::LogFileGeneratedEventArgs& args) {
            std::filesystem::remove(args.File()->Path());
            ++files;
        });
        session->AddLoggingChannel(channel);
        memory = MemoryAfter(messages, [&channel] {
            channel->LogMessage(u"Kelvane::MainPage::UpdateUIWithSysDataAvailableEntry",
                                platform::LoggingLevel::Information);
        });
    }
    return {{"messages", messages}, {"files", files.load()}, {"resident_mib", memory}};
}

nlohmann::ordered_json OpenSessions(std::size_t sessions) {
    const OwnService service;
    return {{"sessions", sessions}, {"resident_mib", MemoryAfter(sessions, [] {
                                         OpenedContext context(Kelvane::kEndpoint);
                                         context.Read();
                                         platform::rpc::NdrClientCall3(Kelvane::kHotkeyRpc,
                                                                       Kelvane::procedure::CloseContext,
                                                                       {&context.Context});
                                     })}};
}

}  // namespace

int Growth(std::span<char* const> arguments) {
    const std::size_t messages = arguments.size() == 2 ? std::strtoul(arguments[0], nullptr, 10) : 0;
    const std::size_t sessions = arguments.size() == 2 ? std::strtoul(arguments[1], nullptr, 10) : 0;
    if (messages < kParts || sessions < kParts) {
        std::fputs("kelvane-bench growth: needs MESSAGES and SESSIONS, ten or more of each\n", stderr);
        return 2;
    }
    const nlohmann::ordered_json line{{"log", LogMessages(messages)}, {"link", OpenSessions(sessions)}};
    std::printf("%s\n", line.dump().c_str());
    return 0;
}

}  // namespace bench
