#pragma once

// What the machine's administrator decided about callers and actions: /etc/kelvane/service.conf, lines of
// "key = value".

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace daemon_service {

/// A program by its absolute path, and its arguments.
using Command = std::vector<std::string>;

enum class Tool { SystemInformation, UsbTypeC };

/// "system-information", "usb-type-c": the names in configuration, units and --start-tool.
std::string_view ToolName(Tool tool);
std::optional<Tool> ToolByName(std::string_view name);

struct FirmwareRequest {
    enum class Method { FirmwareSetup, BootEntry, Off };
    Method By = Method::FirmwareSetup;
    std::string Entry;  ///< the boot loader's name of the entry
};

/// Who is answered besides root, the service's own user and users with an active session on a seat.
struct Access {
    bool RemoteDesktops = false;
    std::optional<gid_t> Group;  ///< members, with or without a session
};

struct Configuration {
    std::optional<Command> SystemInformationTool;
    std::optional<Command> UsbTypeCTool;
    FirmwareRequest Firmware;
    Access Callers;

    /// The configured command, else the first of the well-known tools for which `isInstalled(path)`; nothing
    /// if there is neither.
    template <typename IsInstalled>
    std::optional<Command> ToolCommand(Tool tool, IsInstalled isInstalled) const {
        const auto& configured = tool == Tool::SystemInformation ? SystemInformationTool : UsbTypeCTool;
        if (configured) {
            return configured;
        }
        for (const Command& command : WellKnownTools(tool)) {
            if (isInstalled(command[0])) {
                return command;
            }
        }
        return std::nullopt;
    }

    static const std::vector<Command>& WellKnownTools(Tool tool);
};

/// Names the line and what is wrong with it.
class ConfigurationError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Asks the system for the number of a group that is named. Throws ConfigurationError.
Configuration ParseConfiguration(std::string_view text);

/// Differs when the file was changed or replaced; the default stands for a file that is not there.
struct FileVersion {
    std::uint64_t Inode = 0;
    std::int64_t Size = -1;
    std::int64_t Seconds = 0;
    std::int64_t Nanoseconds = 0;
    bool operator==(const FileVersion&) const = default;
};
FileVersion VersionOf(const std::string& path);

/// The file's configuration; the defaults if there is no file. Throws ConfigurationError for a file that
/// cannot be followed or that others than root and `owner` may write.
Configuration LoadConfiguration(const std::string& path, uid_t owner);

}  // namespace daemon_service
