#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace daemon_service {

/// What the command line asks for.
struct Options {
    enum class Task { Serve, Print, Record, StartTool };

    Task Mode = Task::Serve;
    std::string Argument;                  ///< folder of --record, tool of --start-tool
    std::optional<std::string> Directory;  ///< of the socket
    std::optional<std::string> SystemInformationFile;
    std::optional<std::string> UsbTypeCFile;
    std::optional<std::chrono::seconds> IdleExit;  ///< end after so long without a client; 0: never
    std::string Sysroot = "/";
    std::string Configuration = "/etc/kelvane/service.conf";
};

/// Exit statuses besides 0 and 1 (failed).
inline constexpr int kUsageStatus = 64;

/// The options, or the exit status where the program ends here: --help and --version, printed to standard
/// output, or a command line that cannot be followed, explained on standard error.
struct ParsedOptions {
    std::optional<Options> Value;
    int ExitStatus = 0;
};
ParsedOptions ParseOptions(int count, char** arguments);

}  // namespace daemon_service
