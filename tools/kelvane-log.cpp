// kelvane-log: prints the messages of Kelvane's log files.

#include <getopt.h>

#include <cerrno>
#include <chrono>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <optional>
#include <string>
#include <thread>

#include "platform/core/Exception.h"
#include "platform/storage/Places.h"
#include "platform/tasks/Clock.h"
#include "tools/LogSources.h"
#include "tools/LogText.h"

namespace {

/// How many stored files are read when none are named.
constexpr std::size_t kNewest = 10;
constexpr std::chrono::milliseconds kPollInterval{200};

struct Options {
    bool follow = false;
    bool utc = false;
    bool json = false;
    platform::LoggingLevel level = platform::LoggingLevel::Verbose;
    std::string since;
    std::vector<logtool::Place> places;
};

constexpr const char* kHelp =
    "Usage: kelvane-log [OPTION ...] [FILE|FOLDER ...]\n"
    "Prints the messages of Kelvane's log files: time, level, process:thread, message.\n"
    "Without FILE or FOLDER: the newest stored files and the running program's.\n"
    "\n"
    "  -f, --follow     go on printing new messages as they come, until interrupted\n"
    "  -l, --level L    only messages of this level and above: Verbose, Information,\n"
    "                   Warning, Error, Critical\n"
    "  -s, --since T    only messages since T: \"2026-03-05\", \"2026-03-05 09:04\", \"09:04:07\"\n"
    "                   (today), a time as it is printed, or so long ago: 30s, 10m, 2h, 7d\n"
    "  -u, --utc        times in UTC, also T; else local time\n"
    "  -j, --json       one JSON object a line\n"
    "  -h, --help       print this and end\n"
    "\n"
    "Exit status: 0 when all was read, 1 when a file is damaged, foreign or missing (what\n"
    "can be read of it is printed) or the output cannot be written, 2 for wrong\n"
    "options.\n";

/// Ends the program when the standard output did not take what was printed; `taken` is what its last call
/// told.
void Require(bool taken) {
    if (taken) {
        return;
    }
    // Whoever closes a pipe has seen enough.
    if (errno != EPIPE) {
        std::fprintf(stderr, "kelvane-log: cannot write: %s\n", std::strerror(errno));
    }
    std::exit(1);
}

void Flush() {
    Require(std::fflush(stdout) == 0);
}

/// The exit status when the program ends at once.
std::optional<int> ParseOptions(int argc, char** argv, Options& options) {
    static constexpr option kLong[] = {{"follow", no_argument, nullptr, 'f'},
                                       {"level", required_argument, nullptr, 'l'},
                                       {"since", required_argument, nullptr, 's'},
                                       {"utc", no_argument, nullptr, 'u'},
                                       {"json", no_argument, nullptr, 'j'},
                                       {"help", no_argument, nullptr, 'h'},
                                       {nullptr, 0, nullptr, 0}};
    for (int letter = 0; (letter = getopt_long(argc, argv, "fl:s:ujh", kLong, nullptr)) != -1;) {
        switch (letter) {
            case 'f':
                options.follow = true;
                break;
            case 'l':
                if (const auto level = logtool::ParseLevel(optarg)) {
                    options.level = *level;
                    break;
                }
                std::fprintf(
                    stderr,
                    "kelvane-log: \"%s\" is no level; use Verbose, Information, Warning, Error or Critical\n",
                    optarg);
                return 2;
            case 's':
                options.since = optarg;
                break;
            case 'u':
                options.utc = true;
                break;
            case 'j':
                options.json = true;
                break;
            case 'h':
                std::fputs(kHelp, stdout);
                Flush();
                return 0;
            default:
                std::fputs("Try: kelvane-log --help\n", stderr);
                return 2;
        }
    }
    for (int i = optind; i < argc; ++i) {
        options.places.push_back({.path = argv[i]});
    }
    return {};
}

int Run(Options options) {
    std::int64_t since = INT64_MIN;
    if (!options.since.empty()) {
        const auto parsed =
            logtool::ParseSince(options.since, options.utc, platform::CurrentClock().FileTime());
        if (!parsed) {
            std::fprintf(
                stderr, "kelvane-log: \"%s\" is no time; use \"2026-03-05 09:04\", \"09:04:07\" or \"10m\"\n",
                options.since.c_str());
            return 2;
        }
        since = *parsed;
    }
    const bool byDefault = options.places.empty();
    const auto stored = platform::LocalStateFolder() / "Kelvane_LogFiles";
    if (byDefault) {
        // In the order in which a message moves, so that none slips through.
        options.places = {
            {.path = platform::LogsFolder(), .mayBeMissing = true},
            {.path = stored, .newest = options.since.empty() ? kNewest : 0, .mayBeMissing = true}};
    }
    int status = 0;
    const auto say = [](const std::filesystem::path& path, const std::string& what) {
        Flush();
        std::fprintf(stderr, "kelvane-log: %s: %s\n", path.c_str(), what.c_str());
    };
    logtool::LogSources sources(
        options.places,
        [&](const platform::etl::TraceEvent& event) {
            if (event.level < options.level || event.fileTime < since) {
                return;
            }
            const auto line =
                (options.json ? logtool::JsonLine : logtool::TextLine)(event, options.utc) + '\n';
            Require(std::fwrite(line.data(), 1, line.size(), stdout) == line.size());
        },
        [&](const std::filesystem::path& path, const std::string& problem) {
            say(path, problem);
            status = 1;
        },
        say);
    if (!sources.Poll() && byDefault) {
        std::fprintf(stderr, "kelvane-log: there are no log files in %s; start kelvane first\n",
                     stored.c_str());
        status = 1;
    }
    Flush();
    while (options.follow) {
        std::this_thread::sleep_for(kPollInterval);
        sources.Poll();
        Flush();
    }
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    std::setlocale(LC_CTYPE, "");
    tzset();
    Options options;
    if (const auto status = ParseOptions(argc, argv, options)) {
        return *status;
    }
    try {
        return Run(std::move(options));
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "kelvane-log: %s\n", exception.what());
        return 1;
    }
}
