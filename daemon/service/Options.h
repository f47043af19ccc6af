#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "daemon/actions/Configuration.h"
#include "platform/core/ProgramOptions.h"

namespace daemon_service {

/// What the command line asks for.
struct Options {
    enum class Task { Serve, Print, Record, StartTool };

    Task Mode = Task::Serve;
    std::string Recording;                 ///< folder of --record
    Tool StartedTool{};                    ///< of --start-tool
    std::optional<std::string> Directory;  ///< of the socket
    std::optional<std::string> SystemInformationFile;
    std::optional<std::string> UsbTypeCFile;
    std::optional<std::chrono::seconds> IdleExit;  ///< end after so long without a client; 0: never
    std::string Sysroot = "/";
    std::string Configuration = "/etc/kelvane/service.conf";
};

extern const platform::Program kProgram;

/// Throws WrongUsage.
Options ReadOptions(const platform::ProgramArguments& arguments);

}  // namespace daemon_service
