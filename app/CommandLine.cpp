#include "app/CommandLine.h"

namespace Kelvane {

const char* const kUsage =
    R"(Usage: kelvane [OPTION] [WORD ...]
       kelvane [OPTION] kelvane:?KEY=VALUE

Shows this machine's identifying and configuration data in a window. WORDs, or the query of a kelvane: URI, are launch
arguments: a start with any counts as one by the hotkey.

Options:
  --text             print the pages' rows as "label: value" lines instead of opening a window
  --json             the same as one JSON object
  --screenshot FILE  save a picture of the filled window as PNG and end
  --help             show this help and end
  --version          show the version and end

The data comes from the system service kelvane-service, which must be running.
Exit status: 0 success; 1 no data, or a failure; 2 wrong usage; 3 no display for a window.

Environment:
  KELVANE_TRACE=1            write the trace to standard error as it happens
  KELVANE_RPC_DIRECTORY      where the service's socket is (/run/kelvane/rpc)
  KELVANE_COLOR_SCHEME       light or dark, against the desktop's own setting
  KELVANE_PACKAGE_DIRECTORY  a folder of markup and text files that replace the built-in ones
)";

CommandLine ParseCommandLine(const std::vector<std::string>& arguments) {
    using Action = CommandLine::Action;
    CommandLine line;
    const auto invalid = [&line](std::string problem) {
        line.Wanted = Action::Invalid;
        line.Problem = std::move(problem);
        return line;
    };
    std::size_t i = 0;
    for (; i < arguments.size() && arguments[i].starts_with("--"); ++i) {
        const auto& option = arguments[i];
        if (option == "--") {
            ++i;
            break;
        }
        if (option == "--text") {
            line.Wanted = Action::Text;
        } else if (option == "--json") {
            line.Wanted = Action::Json;
        } else if (option == "--help") {
            line.Wanted = Action::Help;
            return line;
        } else if (option == "--version") {
            line.Wanted = Action::Version;
            return line;
        } else if (option == "--gapplication-service") {
            line.Background = true;
        } else if (option == "--screenshot") {
            if (++i == arguments.size()) {
                return invalid("--screenshot needs the name of a file");
            }
            line.Screenshot = arguments[i];
        } else {
            return invalid("unknown option '" + option + "'");
        }
    }
    if (!line.Screenshot.empty() && line.Wanted != Action::Window) {
        return invalid("--screenshot takes a picture of the window, which --text and --json do not open");
    }
    line.Words.assign(arguments.begin() + static_cast<std::ptrdiff_t>(i), arguments.end());
    return line;
}

}  // namespace Kelvane
