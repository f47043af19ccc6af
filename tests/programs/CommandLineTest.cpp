#include <gmock/gmock.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <stdexcept>

#include "app/CommandLine.h"
#include "tests/support/Golden.h"

namespace {

/// Has a shell run `commandLine` (a program of the build's, its arguments and redirections; other commands
/// may follow) without a display and a service and in a state folder of its own. What a terminal shows of it:
/// the output, the errors behind "!", and the exit status.
std::optional<std::string> Play(const std::string& commandLine) {
#ifdef __SANITIZE_ADDRESS__
    // The undefined-behaviour sanitizer looks at objects through a pipe.
    if (commandLine.find("--nofile") != std::string::npos) {
        return std::nullopt;
    }
#endif
    std::string folder = std::filesystem::temp_directory_path() / "kelvane-run-XXXXXX";
    mkdtemp(folder.data());
    const auto command = "unset DISPLAY WAYLAND_DISPLAY; PATH=" KELVANE_PROGRAMS
                         ":$PATH; export TESTS=" KELVANE_TESTS " XDG_STATE_HOME=" +
                         folder + " KELVANE_RPC_DIRECTORY=/nonexistent; { " + commandLine +
                         "\n} </dev/null >" + folder + "/output 2>" + folder + "/errors";
    const int status = std::system(command.c_str());
    std::ifstream output(folder + "/output");
    std::ifstream errors(folder + "/errors");
    std::string text(std::istreambuf_iterator<char>(output), {});
    for (std::string line; std::getline(errors, line);) {
        text += "! " + line + "\n";
    }
    std::filesystem::remove_all(folder);
    if (!WIFEXITED(status)) {
        throw std::runtime_error("killed by a signal: " + command);
    }
    return text + "status " + std::to_string(WEXITSTATUS(status)) + "\n";
}

TEST(CommandLine, GoldenScripts) {
    tests::ExpectScripts("programs/scripts", [] { return Play; });
}

// What no output shows without a display.
TEST(CommandLine, WordsAreLaunchArgumentsWhereverOptionsStand) {
    const auto read = [](const std::vector<std::string>& arguments) {
        return Kelvane::ReadCommandLine(platform::ParseArguments(Kelvane::kProgram, arguments));
    };
    EXPECT_THAT(read({"-", "++", "[a,b]"}).Words, testing::ElementsAre("-", "++", "[a,b]"));
    EXPECT_EQ(read({"--screenshot", "[a,b].png", "hot"}).Screenshot, "[a,b].png");
    EXPECT_TRUE(read({"--gapplication-service"}).Background);
    EXPECT_EQ(read({"--text"}).Timeout, std::chrono::seconds(30));
    EXPECT_EQ(read({"--json", "--timeout=0"}).Timeout, std::chrono::seconds(0));
}

}  // namespace
