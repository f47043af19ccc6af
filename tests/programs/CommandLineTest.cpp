#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <iomanip>
#include <sstream>

#include "app/CommandLine.h"
#include "daemon/service/Options.h"
#include "tests/programs/ProgramRun.h"
#include "tools/LogOptions.h"

namespace {

using testing::ElementsAre;
using testing::MatchesRegex;

const platform::Program* const kPrograms[] = {&Kelvane::kProgram, &logtool::kProgram,
                                              &daemon_service::kProgram};

/// "\fB\-l\fR" is "-l".
std::string WithoutEscapes(std::string text) {
    for (auto at = text.find('\\'); at != std::string::npos; at = text.find('\\', at)) {
        text.erase(at, text[at + 1] == 'f' ? 3 : 1);
    }
    return text;
}

/// The options of a man page, as a reader sees them: "-l, --level L".
std::vector<std::string> OptionsOfManPage(const std::string& page) {
    std::ifstream file(KELVANE_MAN_PAGES "/" + page);
    std::vector<std::string> options;
    bool inOptions = false;
    bool isTag = false;
    for (std::string line; std::getline(file, line);) {
        inOptions = line.starts_with(".SH") ? line == ".SH OPTIONS" : inOptions;
        if (inOptions && isTag) {
            // A macro joins its arguments; quoted ones have blanks.
            std::istringstream arguments(line.substr(line.find(' ')));
            std::string tag;
            for (std::string argument; arguments >> std::quoted(argument, '"', '\0');) {
                tag += argument;
            }
            options.push_back(WithoutEscapes(tag));
        }
        isTag = line == ".TP";
    }
    return options;
}

TEST(CommandLine, ManPagesHaveTheProgramsOptions) {
    for (const auto* const program : kPrograms) {
        std::vector<std::string> expected;
        for (const auto& option : platform::AllOptions(*program)) {
            if (!option.Help.empty()) {
                expected.push_back(platform::OptionSyntax(option));
            }
        }
        const std::string name(program->Name);
        EXPECT_EQ(OptionsOfManPage(name + (name == "kelvane-service" ? ".8" : ".1")), expected);
    }
}

TEST(CommandLine, HelpAndVersionWinOverEverythingElse) {
    for (const auto* const program : kPrograms) {
        const std::string name(program->Name);
        for (const auto* const arguments : {"-h", "x --help --nonsense --version"}) {
            const auto run = tests::RunProgram(name + " " + arguments);
            EXPECT_EQ(run.Status, 0) << name << arguments;
            EXPECT_EQ(run.Errors, "");
            EXPECT_TRUE(run.Output.starts_with("Usage: " + name + " [OPTION ...]")) << run.Output;
            std::istringstream lines(run.Output);
            for (std::string line; std::getline(lines, line);) {
                EXPECT_LE(line.size(), 80U) << line;
            }
            for (const auto& option : program->Options) {
                EXPECT_EQ(run.Output.find(platform::OptionSyntax(option)) != std::string::npos,
                          !option.Help.empty())
                    << option.Name;
            }
        }
        EXPECT_THAT(tests::RunProgram(name + " -V").Output,
                    MatchesRegex(name + " [0-9]+.[0-9]+.[0-9]+.[0-9]+\n"));
        const auto unwritten = tests::RunProgram(name + " --help >/dev/full");
        EXPECT_EQ(unwritten.Status, 1);
        EXPECT_EQ(unwritten.Errors, name + ": cannot write: No space left on device\n");
    }
}

struct Misuse {
    const char* commandLine;
    const char* problem;
    const char* environment = "";
};

TEST(CommandLine, WrongUsageIsOneSentenceAndStatus2) {
    const Misuse kMisuses[] = {
        {"kelvane --txet", "unknown option '--txet'"},
        {"kelvane hot -x", "unknown option '-x'"},
        {"kelvane '--x\x1B[2J\nkelvane: forged'", "unknown option '--x\\u001B[2J\\nkelvane: forged'"},
        {"kelvane ---x", "unknown option '---x'"},
        {"kelvane --text --json", "--text and --json cannot be used together"},
        {"kelvane --screenshot x.png --text", "--text and --screenshot cannot be used together"},
        {"kelvane --screenshot ''", "--screenshot needs an argument: --screenshot FILE"},
        {"kelvane --screenshot= x.png", "--screenshot needs an argument"},
        {"kelvane --screenshot --text", "--screenshot needs an argument"},
        {"kelvane --text=yes", "--text takes no argument"},
        {"kelvane --timeout 5", "--timeout goes with --text, --json or --screenshot"},
        {"kelvane --text --without-identifiers", "--without-identifiers goes with --json"},
        {"kelvane --text --timeout 1m", "--timeout takes a whole number of seconds, 86400 at most"},
        {"kelvane --text", "KELVANE_PACKAGE_DIRECTORY names '/dev/null', which is not a folder",
         "KELVANE_PACKAGE_DIRECTORY=/dev/null"},
        {"kelvane", "KELVANE_COLOR_SCHEME is 'Dark'; set it to light or dark", "KELVANE_COLOR_SCHEME=Dark"},
        {"kelvane-log -ux", "unknown option '-x'"},
        {"kelvane-log --level loud", "'loud' is no level; use Verbose"},
        {"kelvane-log -s soon", "'soon' is no time; use"},
        {"kelvane-log -ul", "--level needs an argument: --level L"},
        {"kelvane-service x", "unexpected argument 'x'"},
        {"kelvane-service --idle-exit 1m",
         "--idle-exit takes a whole number of seconds, 86400 at most, not '1m'"},
        {"kelvane-service --idle-exit 86401", "--idle-exit takes a whole number of seconds, 86400 at most"},
        {"kelvane-service --print --start-tool usb-type-c",
         "--print and --start-tool cannot be used together"},
        {"kelvane-service --start-tool x", "unknown tool 'x'; known are system-information and usb-type-c"},
    };
    for (const auto& misuse : kMisuses) {
        const auto run = tests::RunProgram(misuse.commandLine, misuse.environment);
        const std::string command(misuse.commandLine);
        const auto name = command.substr(0, command.find(' '));
        EXPECT_EQ(run.Status, 2) << command;
        EXPECT_EQ(run.Output, "") << command;
        EXPECT_TRUE(run.Errors.starts_with(name + ": " + misuse.problem)) << command << ": " << run.Errors;
        EXPECT_TRUE(run.Errors.ends_with("; see '" + name + " --help'\n")) << command << ": " << run.Errors;
        EXPECT_EQ(run.Errors.find('\n'), run.Errors.size() - 1) << run.Errors;
    }
}

TEST(CommandLine, AClosedStandardStreamIsReportedAndNoFileTakesItsPlace) {
    for (const std::string command : {"kelvane --help", "kelvane --text", "kelvane --json", "kelvane-log",
                                      "kelvane-log --follow", "kelvane-service --print"}) {
        const auto run = tests::RunProgram(command + " <&- >&-");
        EXPECT_EQ(run.Status, 1) << command;
        EXPECT_TRUE(run.Errors.starts_with(command.substr(0, command.find(' ')) +
                                           ": cannot write: the standard output is closed; "))
            << run.Errors;
    }
    const auto log = tests::RunProgram("kelvane --text >/dev/null 2>&-; kelvane-log");
    EXPECT_EQ(log.Errors, "") << "what was to go to standard error is in a log file";
    EXPECT_NE(log.Output.find("OnLaunchedEntry"), std::string::npos);
}

TEST(CommandLine, AWrongTypeInTheSettingsIsExplainedAndChangesNothing) {
    const struct {
        std::string settings;
        std::string problem;
    } kRows[] = {
        {"<settings><setting key='Kelvane_LoggingEnabled' type='String'>false</setting></settings>",
         "Kelvane_LoggingEnabled has the type String in place of Boolean"},
        {"<settings><setting key='Kelvane_LoggingEnabled' type='Empty'/></settings>",
         "Kelvane_LoggingEnabled has the type Empty in place of Boolean"},
        {"<settings><setting key='Kelvane_LoggingEnabled' type='Boolean'>true</setting>"
         "<setting key='Kelvane_LogFileGeneratedBeforeSuspend' type='Boolean'>true</setting></settings>",
         "Kelvane_LogFileGeneratedBeforeSuspend has the type Boolean in place of String"},
    };
    for (const auto& row : kRows) {
        const auto run =
            tests::RunProgram("cd $XDG_STATE_HOME; mkdir -p kelvane/Settings; echo \"" + row.settings +
                              "\" >kelvane/Settings/settings.xml; kelvane --text; echo $?;"
                              "cat kelvane/Settings/settings.xml");
        EXPECT_EQ(run.Output, "1\n" + row.settings + "\n") << "status and settings";
        EXPECT_TRUE(run.Errors.ends_with(
            "/kelvane/Settings/settings.xml: " + row.problem +
            "; correct it, or delete the setting to have its default, and start again\n"))
            << run.Errors;
    }
}

TEST(CommandLine, OutputsWithoutTheServiceHaveStatus1AndAReason) {
    for (const auto* const output : {"--text", "--json"}) {
        const auto run =
            tests::RunProgram(std::string("kelvane ") + output, "KELVANE_RPC_DIRECTORY=/dev/null");
        EXPECT_EQ(run.Status, 1);
        EXPECT_TRUE(run.Errors.starts_with("kelvane: The system service is not running. Start "))
            << run.Errors;
        EXPECT_EQ(std::ranges::count(run.Errors, '\n'), 1) << run.Errors;
    }
}

TEST(CommandLine, JsonIsWhatTheServiceKnowsOfThisMachine) {
    const auto run = tests::RunProgram(
        "export KELVANE_RPC_DIRECTORY=$(mktemp -d /tmp/kelvane-json-XXXXXX); cd $KELVANE_RPC_DIRECTORY; "
        "mkfifo log;"
        "kelvane-service 2>log & read -r serving <log; kelvane --json; status=$?; kill $!; wait;"
        "rm -r $KELVANE_RPC_DIRECTORY; (exit $status)");
    EXPECT_EQ(run.Status, 0) << run.Errors;
    EXPECT_TRUE(run.Output.starts_with("{\"version\":1,")) << run.Output;
    EXPECT_NE(run.Output.find("\"source\":\"os-release "), std::string::npos) << run.Output;
    EXPECT_EQ(run.Output.find("\"record\""), std::string::npos) << run.Output;
}

Kelvane::CommandLine Read(const std::vector<std::string>& arguments) {
    return Kelvane::ReadCommandLine(platform::ParseArguments(Kelvane::kProgram, arguments));
}

TEST(CommandLine, WordsAreLaunchArgumentsWhereverOptionsStand) {
    using Action = Kelvane::CommandLine::Action;
    EXPECT_THAT(Read({"hot", "--text", "key"}).Words, ElementsAre("hot", "key"));
    EXPECT_EQ(Read({"hot", "--text", "key"}).Wanted, Action::Text);
    EXPECT_THAT(Read({"kelvane:?x=1"}).Words, ElementsAre("kelvane:?x=1"));
    EXPECT_THAT(Read({"--json", "--", "--text", "--", "-"}).Words, ElementsAre("--text", "--", "-"));
    EXPECT_EQ(Read({"--json", "--", "--text"}).Wanted, Action::Json);
    EXPECT_THAT(Read({"-", "++", "[a,b]"}).Words, ElementsAre("-", "++", "[a,b]"));
    EXPECT_EQ(Read({"--screenshot", "[a,b].png", "hot"}).Screenshot, "[a,b].png");
    EXPECT_EQ(Read({"--screenshot=-x.png"}).Screenshot, "-x.png");
    EXPECT_EQ(Read({}).Wanted, Action::Window);
    EXPECT_FALSE(Read({}).Background);
    EXPECT_EQ(Read({"--text"}).Timeout, std::chrono::seconds(30));
    EXPECT_EQ(Read({"--json", "--timeout=0"}).Timeout, std::chrono::seconds(0));
    EXPECT_TRUE(Read({"--gapplication-service"}).Background);
}

TEST(CommandLine, ReadsTheOptionsOfTheLogTool) {
    const auto read = [](const std::vector<std::string>& arguments) {
        constexpr std::int64_t kNow = 134170000000000000;
        return logtool::ReadOptions(platform::ParseArguments(logtool::kProgram, arguments), kNow);
    };
    const auto options = read({"-fl", "Error", "a", "-lwarning", "-s", "10s", "b"});
    EXPECT_TRUE(options.Follow);
    EXPECT_FALSE(options.Utc);
    EXPECT_FALSE(options.Json);
    EXPECT_EQ(options.Level, platform::LoggingLevel::Warning) << "the last one counts";
    EXPECT_EQ(options.Since, 134170000000000000 - 100'000'000);
    EXPECT_THAT(options.Places, ElementsAre("a", "b"));
    EXPECT_TRUE(read({"-u"}).Utc);
    EXPECT_TRUE(read({"-j"}).Json);
    EXPECT_FALSE(read({"-j"}).Utc);
    EXPECT_FALSE(read({}).Since);
}

TEST(CommandLine, ReadsTheOptionsOfTheService) {
    const auto read = [](const std::vector<std::string>& arguments) {
        return daemon_service::ReadOptions(platform::ParseArguments(daemon_service::kProgram, arguments));
    };
    // The tests of the service use the others.
    EXPECT_EQ(read({"--directory", "d"}).Directory, "d");
    EXPECT_EQ(read({"--system-information=s", "--usb-type-c", "u"}).SystemInformationFile, "s");
    EXPECT_EQ(read({"--system-information=s", "--usb-type-c", "u"}).UsbTypeCFile, "u");
    EXPECT_FALSE(read({}).IdleExit);
    EXPECT_EQ(read({"--idle-exit", "0"}).IdleExit, std::chrono::seconds(0));
    EXPECT_EQ(read({"--record", "x"}).Recording, "x");
    EXPECT_EQ(read({"--start-tool", "usb-type-c"}).StartedTool, daemon_service::Tool::UsbTypeC);
}

}  // namespace
