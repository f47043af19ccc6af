#include "app/CommandLine.h"

#include <cstdlib>
#include <string_view>

namespace Kelvane {

namespace {

constexpr std::chrono::seconds kDefaultTimeout(30);
constexpr std::chrono::seconds kLongestTimeout = std::chrono::hours(24);

constexpr platform::ProgramOption kOptions[] = {
    {.Name = "text",
     .Help = "print the pages' rows as \"label: value\" lines instead of opening a window",
     .Exclusive = true},
    {.Name = "json",
     .Help = "print all that is known of the machine, with sources, as one JSON object, the same in every "
             "language",
     .Exclusive = true},
    {.Name = "hide-identifiers",
     .Help = "hide serial number and build identifier in the window, in --text, --json and --screenshot"},
    {.Name = "screenshot",
     .Argument = "FILE",
     .Help = "save a picture of the filled window as PNG and end",
     .Exclusive = true},
    {.Name = "timeout",
     .Argument = "SECONDS",
     .Help = "how long --text, --json and --screenshot wait for the service's data (default: 30; 0: as long "
             "as it takes)"},
    // How the session bus starts the program, see org.kelvane.Kelvane.service.
    {.Name = "gapplication-service"},
};

constexpr std::string_view kSynopses[] = {"[OPTION ...] [WORD ...]", "[OPTION ...] kelvane:?KEY=VALUE"};

}  // namespace

constinit const platform::Program kProgram{
    .Name = "kelvane",
    .Synopses = kSynopses,
    .Summary =
        "Shows this machine's identifying and configuration data in a window. WORDs, or the query of a "
        "kelvane: URI, are launch arguments: a start with any counts as one by the hotkey. A WORD that "
        "begins with \"-\" comes after \"--\".",
    .Notes = R"(The data comes from the system service kelvane-service, which must be running.
Exit status: 0 success; 1 data is missing, or a failure; 2 wrong usage; 3 no
display for a window.

Environment:
  KELVANE_TRACE=1            write the trace to standard error as it happens
  KELVANE_RPC_DIRECTORY      where the service's socket is (/run/kelvane/rpc)
  KELVANE_COLOR_SCHEME       light or dark, against the desktop's own setting
  KELVANE_PACKAGE_DIRECTORY  a folder of markup and text files that replace the
                             built-in ones
)",
    .Options = kOptions,
    .TakesWords = true,
};

CommandLine ReadCommandLine(const platform::ProgramArguments& arguments) {
    using Action = CommandLine::Action;
    CommandLine line{.Wanted = arguments.Has("text")   ? Action::Text
                               : arguments.Has("json") ? Action::Json
                                                       : Action::Window,
                     .Screenshot = arguments.Value("screenshot").value_or(""),
                     .HidesIdentifiers = arguments.Has("hide-identifiers"),
                     .Timeout = arguments.Seconds("timeout", kLongestTimeout).value_or(kDefaultTimeout),
                     .Background = arguments.Has("gapplication-service"),
                     .Words = arguments.Words()};
    const char* const trace = std::getenv("KELVANE_TRACE");
    if (line.HidesIdentifiers && trace != nullptr && std::string_view(trace) == "1") {
        throw platform::WrongUsage(
            "--hide-identifiers goes without KELVANE_TRACE=1, whose trace has the identifiers");
    }
    if (arguments.Has("timeout") && line.Wanted == Action::Window && line.Screenshot.empty()) {
        throw platform::WrongUsage("--timeout goes with --text, --json or --screenshot");
    }
    return line;
}

}  // namespace Kelvane
