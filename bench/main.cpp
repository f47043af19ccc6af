// kelvane-bench: measures parts of the product beside what bounds them, so that the ratios of one run say
// something on any machine.

#include <cstdio>
#include <exception>
#include <span>
#include <string_view>

#include "bench/Bench.h"

namespace {

struct Subcommand {
    std::string_view Name;
    const char* Arguments;
    const char* Help;
    int (*Run)(std::span<char* const> arguments);
};

constexpr Subcommand kSubcommands[] = {
    {"rpc", "SOCKET CALLS SESSIONS",
     "remote calls to the service that listens at SOCKET ('self': one in this process), and whole sessions, "
     "beside a "
     "plain exchange of the same bytes",
     bench::Rpc},
};

void PrintHelp(std::FILE* stream) {
    std::fputs("usage: kelvane-bench SUBCOMMAND ARGUMENTS\nEach prints one line of JSON.\n\n", stream);
    for (const Subcommand& subcommand : kSubcommands) {
        std::fprintf(stream, "  %s %s\n      %s\n", subcommand.Name.data(), subcommand.Arguments,
                     subcommand.Help);
    }
}

}  // namespace

int main(int count, char** arguments) {
    const std::string_view name = count > 1 ? arguments[1] : "";
    if (name == "--help") {
        PrintHelp(stdout);
        return 0;
    }
    for (const Subcommand& subcommand : kSubcommands) {
        if (name == subcommand.Name) {
            try {
                return subcommand.Run(std::span(arguments, static_cast<std::size_t>(count)).subspan(2));
            } catch (const std::exception& exception) {
                std::fprintf(stderr, "kelvane-bench: %s\n", exception.what());
                return 1;
            }
        }
    }
    PrintHelp(stderr);
    return 2;
}
