#include "daemon/actions/Configuration.h"

#include <fcntl.h>
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include "platform/core/Exception.h"
#include "platform/core/Lines.h"
#include "platform/storage/FileDescriptor.h"

namespace daemon_service {

namespace {

constexpr std::size_t kMaxFileBytes = std::size_t{1} << 16;

struct NamedTool {
    Tool Which;
    std::string_view Name;
};
constexpr std::array kTools{NamedTool{Tool::SystemInformation, "system-information"},
                            NamedTool{Tool::UsbTypeC, "usb-type-c"}};

/// Words between blanks; double quotes keep blanks in a word. There is no further syntax and never a shell.
Command SplitCommand(std::string_view text) {
    Command words;
    std::string word;
    bool quoted = false;
    bool started = false;
    for (const char c : text) {
        if (c == '"') {
            quoted = !quoted;
            started = true;
        } else if (!quoted && (c == ' ' || c == '\t')) {
            if (started) {
                words.push_back(std::exchange(word, {}));
                started = false;
            }
        } else {
            word += c;
            started = true;
        }
    }
    if (quoted) {
        throw ConfigurationError("a double quote is not closed");
    }
    if (started) {
        words.push_back(std::move(word));
    }
    if (words.empty() || !words[0].starts_with('/')) {
        throw ConfigurationError("a tool is named by its absolute path, for example /usr/bin/hardinfo2");
    }
    return words;
}

FirmwareRequest ParseFirmware(std::string_view value) {
    if (value == "firmware-setup") {
        return {};
    }
    if (value == "off") {
        return {.By = FirmwareRequest::Method::Off, .Entry = {}};
    }
    constexpr std::string_view kEntry = "boot-entry ";
    if (value.starts_with(kEntry)) {
        return {.By = FirmwareRequest::Method::BootEntry,
                .Entry = std::string(platform::Trimmed(value.substr(kEntry.size())))};
    }
    throw ConfigurationError("firmware-request is firmware-setup, \"boot-entry NAME\" or off");
}

bool ParseSwitch(std::string_view key, std::string_view value) {
    if (value != "yes" && value != "no") {
        throw ConfigurationError(std::string(key) + " is yes or no");
    }
    return value == "yes";
}

gid_t ParseGroup(const std::string& name) {
    std::vector<char> room(1024);
    group entry{};
    group* found = nullptr;
    int error = 0;
    while ((error = getgrnam_r(name.c_str(), &entry, room.data(), room.size(), &found)) == ERANGE) {
        room.resize(2 * room.size());
    }
    if (found == nullptr) {
        throw ConfigurationError(error == 0 ? "there is no group \"" + name + "\""
                                            : "group \"" + name + "\": " + std::strerror(error));
    }
    return found->gr_gid;
}

void ParseLine(std::string_view line, Configuration& configuration) {
    const auto pair = platform::CutLine(line, '=');
    if (!pair) {
        throw ConfigurationError("expected \"key = value\"");
    }
    const auto [key, value] = *pair;
    if (key == "system-information-tool") {
        configuration.SystemInformationTool = SplitCommand(value);
    } else if (key == "usb-type-c-tool") {
        configuration.UsbTypeCTool = SplitCommand(value);
    } else if (key == "firmware-request") {
        configuration.Firmware = ParseFirmware(value);
    } else if (key == "answer-remote-desktops") {
        configuration.Callers.RemoteDesktops = ParseSwitch(key, value);
    } else if (key == "answer-group") {
        configuration.Callers.Group = ParseGroup(std::string(value));
    } else {
        throw ConfigurationError("unknown key \"" + std::string(key) +
                                 "\"; known are answer-group, answer-remote-desktops, firmware-request, "
                                 "system-information-tool, usb-type-c-tool");
    }
}

}  // namespace

std::string_view ToolName(Tool tool) {
    return kTools[static_cast<std::size_t>(tool)].Name;
}

std::optional<Tool> ToolByName(std::string_view name) {
    for (const NamedTool& tool : kTools) {
        if (tool.Name == name) {
            return tool.Which;
        }
    }
    return std::nullopt;
}

const std::vector<Command>& Configuration::WellKnownTools(Tool tool) {
    static const std::vector<Command> kSystemInformation{
        {"/usr/bin/hardinfo2"},
        {"/usr/bin/hardinfo"},
        {"/usr/bin/kinfocenter"},
        {"/usr/bin/gnome-control-center", "info-overview"},
    };
    static const std::vector<Command> kUsbTypeC{
        {"/usr/bin/usbview"},
        {"/usr/bin/kinfocenter", "kcm_usb"},
        {"/usr/bin/hardinfo2"},
        {"/usr/bin/hardinfo"},
    };
    return tool == Tool::SystemInformation ? kSystemInformation : kUsbTypeC;
}

Configuration ParseConfiguration(std::string_view text) {
    Configuration configuration;
    int number = 0;
    for (const std::string_view raw : platform::Lines(text)) {
        const std::string_view line = platform::Trimmed(raw);
        ++number;
        if (line.empty() || line[0] == '#') {
            continue;
        }
        try {
            ParseLine(line, configuration);
        } catch (const ConfigurationError& error) {
            throw ConfigurationError("line " + std::to_string(number) + ": " + error.what());
        }
    }
    return configuration;
}

FileVersion VersionOf(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) {
        return {};
    }
    return {.Inode = status.st_ino,
            .Size = status.st_size,
            .Seconds = status.st_ctim.tv_sec,
            .Nanoseconds = status.st_ctim.tv_nsec};
}

Configuration LoadConfiguration(const std::string& path, uid_t owner) {
    const platform::FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!file) {
        if (errno == ENOENT || errno == ENOTDIR) {
            return {};
        }
        throw ConfigurationError(path + ": " + std::strerror(errno));
    }
    struct stat status {};
    if (fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        throw ConfigurationError(path + ": not a regular file");
    }
    if ((status.st_uid != 0 && status.st_uid != owner) || (status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        throw ConfigurationError(path +
                                 ": others than root can change it; make root its owner and take the write "
                                 "permission of group and others away (chmod go-w)");
    }
    try {
        // Half a file must not be followed as if it were the whole.
        const auto bytes = platform::ReadUpTo(file, path, 0, kMaxFileBytes + 1);
        if (bytes.size() > kMaxFileBytes) {
            throw ConfigurationError("longer than 64 KiB");
        }
        return ParseConfiguration({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    } catch (const platform::Exception& error) {
        throw ConfigurationError(error.what());
    } catch (const ConfigurationError& error) {
        throw ConfigurationError(path + ", " + error.what());
    }
}

}  // namespace daemon_service
