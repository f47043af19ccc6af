#include <gmock/gmock.h>

#include <fstream>
#include <iomanip>
#include <sstream>

#include "app/CommandLine.h"
#include "daemon/service/Options.h"
#include "tests/programs/ProgramRun.h"
#include "tests/support/Golden.h"
#include "tools/LogOptions.h"

namespace {

using testing::ElementsAre;

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

/// What a terminal shows of a command line: the output, the errors behind "!", and the exit status.
std::optional<std::string> Play(const std::string& commandLine) {
    const auto run = tests::RunProgram(commandLine);
    std::istringstream errors(run.Errors);
    auto text = run.Output;
    for (std::string line; std::getline(errors, line);) {
        text += "! " + line + "\n";
    }
    return text + "status " + std::to_string(run.Status) + "\n";
}

TEST(CommandLine, GoldenScripts) {
    tests::ExpectScripts("programs/scripts", [] { return Play; });
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
