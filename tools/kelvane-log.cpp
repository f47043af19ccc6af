// kelvane-log: prints the messages of Kelvane's log files.

#include <cerrno>
#include <chrono>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/core/ProgramOptions.h"
#include "platform/core/StandardError.h"
#include "platform/core/StandardOutput.h"
#include "platform/storage/Places.h"
#include "platform/tasks/Clock.h"
#include "tools/LogOptions.h"
#include "tools/LogSources.h"
#include "tools/LogText.h"

namespace {

/// How many stored files are read when none are named.
constexpr std::size_t kNewest = 10;
constexpr std::chrono::milliseconds kPollInterval{200};

/// Ends the program when the standard output did not take what was printed; `taken` is what its last call
/// returned.
void Require(bool taken) {
    if (taken) {
        return;
    }
    // Whoever closes a pipe has seen enough.
    if (errno != EPIPE) {
        platform::WriteStandardError({"kelvane-log: cannot write: ", std::strerror(errno)});
    }
    std::exit(1);
}

void Flush() {
    Require(std::fflush(stdout) == 0);
}

int Run(const logtool::LogOptions& options) {
    platform::RequireStandardOutput();
    std::vector<logtool::Place> places;
    for (const auto& place : options.Places) {
        places.push_back({.Path = place});
    }
    const bool byDefault = places.empty();
    const auto stored = platform::LocalStateFolder() / "Kelvane_LogFiles";
    if (byDefault) {
        // In the order in which a message moves, so that none slips through.
        places = {{.Path = platform::LogsFolder(), .MayBeMissing = true},
                  {.Path = stored, .Newest = options.Since ? 0 : kNewest, .MayBeMissing = true}};
    }
    int status = 0;
    const auto say = [](const std::filesystem::path& path, const std::string& what) {
        Flush();
        platform::WriteStandardError({"kelvane-log: ", path.native(), ": ", what});
    };
    logtool::LogSources sources(
        std::move(places),
        [&](const platform::etl::TraceEvent& event) {
            if (event.Level < options.Level || (options.Since && event.FileTime < *options.Since)) {
                return;
            }
            const auto line =
                (options.Json ? logtool::JsonLine : logtool::TextLine)(event, options.Utc) + '\n';
            Require(std::fwrite(line.data(), 1, line.size(), stdout) == line.size());
        },
        [&](const std::filesystem::path& path, const std::string& problem) {
            say(path, problem);
            status = 1;
        },
        say);
    if (!sources.Poll() && byDefault) {
        platform::WriteStandardError(
            {"kelvane-log: there are no log files in ", stored.native(), "; start kelvane first"});
        status = 1;
    }
    Flush();
    while (options.Follow) {
        std::this_thread::sleep_for(kPollInterval);
        sources.Poll();
        Flush();
    }
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    return platform::RunProgram(logtool::kProgram, argc, argv, [](const auto& arguments) {
        std::setlocale(LC_CTYPE, "");
        tzset();
        return Run(logtool::ReadOptions(arguments, platform::CurrentClock().FileTime()));
    });
}
