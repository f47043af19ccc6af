#include "app/CommandLine.h"

namespace Kelvane {

namespace {

constexpr platform::ProgramOption kOptions[] = {
    {.Name = "text",
     .Help = "print the pages' rows as \"label: value\" lines instead of opening a window",
     .Exclusive = true},
    {.Name = "json", .Help = "print them as one JSON object, the same in every language", .Exclusive = true},
    {.Name = "screenshot",
     .Argument = "FILE",
     .Help = "save a picture of the filled window as PNG and end",
     .Exclusive = true},
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
Exit status: 0 success; 1 no data, or a failure; 2 wrong usage; 3 no display for
a window.

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
    return {.Wanted = arguments.Has("text")   ? Action::Text
                      : arguments.Has("json") ? Action::Json
                                              : Action::Window,
            .Screenshot = arguments.Value("screenshot").value_or(""),
            .Background = arguments.Has("gapplication-service"),
            .Words = arguments.Words()};
}

}  // namespace Kelvane
