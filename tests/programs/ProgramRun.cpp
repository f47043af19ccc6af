#include "tests/programs/ProgramRun.h"

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace tests {

namespace {

std::string Content(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

ProgramRun RunProgram(const std::string& commandLine) {
    std::string pattern = std::filesystem::temp_directory_path() / "kelvane-run-XXXXXX";
    const std::filesystem::path folder = mkdtemp(pattern.data());
    const auto output = folder / "output";
    const auto errors = folder / "errors";
    const auto command = "unset DISPLAY WAYLAND_DISPLAY; PATH=" KELVANE_PROGRAMS
                         ":$PATH; "
                         "export XDG_STATE_HOME=" +
                         folder.string() + " KELVANE_RPC_DIRECTORY=/nonexistent; { " + commandLine +
                         "\n} </dev/null >" + output.string() + " 2>" + errors.string();
    const int status = std::system(command.c_str());
    ProgramRun run{.Status = WEXITSTATUS(status), .Output = Content(output), .Errors = Content(errors)};
    std::filesystem::remove_all(folder);
    if (!WIFEXITED(status)) {
        throw std::runtime_error("killed by a signal: " + command);
    }
    return run;
}

}  // namespace tests
