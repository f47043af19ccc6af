// Command lines of the three programs, and the URIs that start one. The first byte picks the program; its
// arguments follow, one a line.

#include <algorithm>
#include <cstdlib>

#include "app/CommandLine.h"
#include "daemon/service/Options.h"
#include "fuzz/Target.h"
#include "platform/core/FileTime.h"
#include "platform/core/Lines.h"
#include "platform/core/Text.h"
#include "platform/core/Uri.h"
#include "tools/LogOptions.h"
#include "tools/LogText.h"

namespace {

constexpr std::int64_t kNow = 134171714470451234;  // 2026-03-05 08:04:07

/// A word of the desktop's, or of another start.
void ReadUri(const std::string& word) {
    if (const auto uri = platform::Uri::Parse(platform::FromUtf8(word))) {
        fuzz::Require(!uri->SchemeName().empty());
        fuzz::Require(uri->Query().empty() || uri->Query().front() == u'?');
    }
}

int RunKelvane(const platform::ProgramArguments& arguments) {
    const auto line = Kelvane::ReadCommandLine(arguments);
    for (const auto& word : line.Words) {
        ReadUri(word);
    }
    return 0;
}

int RunLog(const platform::ProgramArguments& arguments) {
    const auto options = logtool::ReadOptions(arguments, kNow);
    const auto time = options.Since.value_or(0);
    const auto shown = platform::FileTimeOf(platform::CalendarTimeOf(time, true), true);
    if (shown == time) {
        // As it is printed it is a time that --since takes.
        constexpr std::size_t kStart = std::string_view("{\"time\":\"").size();
        constexpr std::size_t kLength = std::string_view("2026-03-05T09:04:07.0450000Z").size();
        const platform::etl::TraceEvent event{.FileTime = time, .Channel = {}, .Text = {}};
        const auto printed = logtool::JsonLine(event, true).substr(kStart, kLength);
        fuzz::Require(logtool::ParseSince(printed, false, kNow) == time);
        logtool::JsonLine(event, false);
    }
    return 0;
}

int RunService(const platform::ProgramArguments& arguments) {
    const auto options = daemon_service::ReadOptions(arguments);
    fuzz::Require(!options.Sysroot.empty());
    return 0;
}

struct Entry {
    const platform::Program& program;
    int (*run)(const platform::ProgramArguments&);
};
const Entry kPrograms[] = {
    {Kelvane::kProgram, RunKelvane}, {logtool::kProgram, RunLog}, {daemon_service::kProgram, RunService}};
constexpr std::uint8_t kTraced = 4;

}  // namespace

void fuzz::Run(std::string_view input) {
    const auto first = TakeByte(input);
    (first & kTraced) != 0 ? setenv("KELVANE_TRACE", "1", 1) : unsetenv("KELVANE_TRACE");
    std::vector<std::string> words = {"program"};
    for (const std::string_view line : platform::Lines(input)) {
        words.emplace_back(line.substr(0, line.find('\0')));
        ReadUri(words.back());
    }
    std::vector<const char*> arguments;
    for (const auto& word : words) {
        arguments.push_back(word.c_str());
    }
    const auto& [program, run] = kPrograms[(first & 3) % std::size(kPrograms)];
    // Done, or refused with the reason.
    const int status =
        platform::RunProgram(program, static_cast<int>(arguments.size()), arguments.data(), run);
    fuzz::Require(status == 0 || status == platform::kWrongUsageStatus);
}

std::vector<std::string> fuzz::Seeds() {
    std::vector<std::string> seeds;
    for (const std::string name : {"wrong-usage", "help-and-version", "completion"}) {
        const auto script = FileOf("tests/programs/scripts/" + name + ".txt");
        for (const auto line : platform::Lines(script)) {
            const auto end = std::min(line.find(' '), line.size());
            for (char index = 0; index < 3; ++index) {
                if (line.substr(0, end) == kPrograms[static_cast<std::size_t>(index)].program.Name) {
                    auto arguments = std::string(line.substr(std::min(end + 1, line.size())));
                    std::ranges::replace(arguments, ' ', '\n');
                    Add(seeds, {index, index | kTraced}, arguments);
                }
            }
        }
    }
    const auto times = FileOf("tests/logging/since/moments.txt");
    for (const auto line : platform::Lines(times)) {
        Add(seeds, {1}, "-s\n" + std::string(platform::Trimmed(line)));
    }
    seeds.insert(seeds.end(),
                 {'\0' + std::string("--json\n--timeout=0\nkelvane:?a=b#c"), "\1-fuj\n-lError\nfolder",
                  "\2--idle-exit=5\n--start-tool\nusb-type-c", "\2--record=x"});
    return seeds;
}
