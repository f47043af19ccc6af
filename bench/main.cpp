// kelvane-bench: measures parts of the product beside what bounds them, so that the ratios of one run say
// something on any machine.

#include <array>
#include <cstdio>
#include <exception>
#include <string_view>

#include "bench/Commands.h"
#include "platform/core/StandardOutput.h"

namespace {

struct Row {
    const char* name;
    const char* arguments;
    const char* purpose;
    bench::Command* run;
};

constexpr std::array kRows = {
    Row{"flood", "SOCKET PID STRANGERS ACCEPTED SECONDS",
        "how long root waits at the service PID at SOCKET while STRANGERS users who may not call and "
        "ACCEPTED users "
        "of the service's group flood it; as root; the socket is root's, the configuration answers the group",
        bench::Flood},
    Row{"growth", "MESSAGES SESSIONS",
        "this process's memory after each tenth of so many log messages, and of sessions with a service of "
        "its own",
        bench::Growth},
    Row{"log", "FOLDER THREADS MESSAGES", "log calls, beside a locked copy and a write for each 64 KiB",
        bench::Log},
    Row{"rpc", "SOCKET CALLS CONVERSATIONS [CALLER SERVICE]",
        "remote calls to the service that listens at SOCKET ('self': one in this process), and whole "
        "conversations, beside "
        "a plain exchange of the same bytes; CALLER and SERVICE are the numbers of the processors that both "
        "ends stay on, but for a service of another process",
        bench::Rpc},
    Row{"start", "STARTS SYSROOT",
        "the application's start until nothing more is drawn, with the machine recorded below SYSROOT, "
        "beside "
        "a plain window of the toolkit; on a screen where nothing else draws (tests/window/in-a-session)",
        bench::Start},
};

int Usage(std::FILE* to) {
    std::fputs("Usage: kelvane-bench COMMAND ARGUMENTS\nPrints one line of JSON.\n\n", to);
    for (const auto& row : kRows) {
        std::fprintf(to, "  %s %s\n      %s\n", row.name, row.arguments, row.purpose);
    }
    return to == stdout ? 0 : 2;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string_view name = argc > 1 ? argv[1] : "";
    if (name == "--help" || name == "-h") {
        return Usage(stdout);
    }
    for (const auto& row : kRows) {
        if (name == row.name) {
            try {
                platform::SecureStandardDescriptors();
                platform::RequireStandardOutput();
                const int status = row.run({argv + 2, static_cast<std::size_t>(argc - 2)});
                return status == 2 ? Usage(stderr) : status;
            } catch (const std::exception& exception) {
                std::fprintf(stderr, "kelvane-bench: %s\n", exception.what());
                return 1;
            }
        }
    }
    return Usage(stderr);
}
