#include "tools/LogOptions.h"

#include "tools/LogText.h"

namespace logtool {

namespace {

constexpr platform::ProgramOption kOptions[] = {
    {.Name = "follow", .Letter = 'f', .Help = "go on printing new messages as they come, until interrupted"},
    {.Name = "level",
     .Letter = 'l',
     .Argument = "L",
     .Choices = "Verbose Information Warning Error Critical",
     .Help = "only messages of this level and above: Verbose, Information, Warning, Error, Critical"},
    {.Name = "since",
     .Letter = 's',
     .Argument = "T",
     .Help =
         "only messages since T: \"2026-03-05\", \"2026-03-05 09:04\", \"09:04:07\" (today), a time as it is "
         "printed, or so long ago: 30s, 10m, 2h, 7d"},
    {.Name = "utc", .Letter = 'u', .Help = "times in UTC, also T; else local time"},
    {.Name = "json", .Letter = 'j', .Help = "one JSON object per line"},
};

constexpr std::string_view kSynopses[] = {"[OPTION ...] [FILE|FOLDER ...]"};

}  // namespace

constinit const platform::Program kProgram{
    .Name = "kelvane-log",
    .Synopses = kSynopses,
    .Summary =
        "Prints the messages of Kelvane's log files: time, level, process:thread, message. Without FILE or "
        "FOLDER: the newest stored files and the running program's.",
    .Notes = R"(The messages may hold the machine's data, the serial number among it: read them
before you give them to somebody.
Exit status: 0 when all was read, 1 when a file is damaged, foreign or missing
(what can be read of it is printed) or the output cannot be written, 2 for wrong
usage.
)",
    .Options = kOptions,
    .TakesWords = true,
    .WordsAreFiles = true,
};

LogOptions ReadOptions(const platform::ProgramArguments& arguments, std::int64_t now) {
    LogOptions options{.Follow = arguments.Has("follow"),
                       .Utc = arguments.Has("utc"),
                       .Json = arguments.Has("json"),
                       .Places = arguments.Words()};
    if (const auto name = arguments.Value("level")) {
        const auto level = ParseLevel(*name);
        if (!level) {
            throw platform::WrongUsage("'" + *name +
                                       "' is no level; use Verbose, Information, Warning, Error or Critical");
        }
        options.Level = *level;
    }
    if (const auto text = arguments.Value("since")) {
        options.Since = ParseSince(*text, options.Utc, now);
        if (!options.Since) {
            throw platform::WrongUsage("'" + *text +
                                       "' is no time; use \"2026-03-05 09:04\", \"09:04:07\" or \"10m\"");
        }
    }
    return options;
}

}  // namespace logtool
