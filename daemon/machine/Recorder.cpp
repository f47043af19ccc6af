#include "daemon/machine/Recorder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <span>
#include <utility>

#include "daemon/machine/Smbios.h"
#include "daemon/machine/SystemInformation.h"
#include "daemon/machine/UsbTypeC.h"
#include "daemon/machine/Values.h"
#include "platform/core/Exception.h"

namespace daemon_service {

namespace {

using Replacer = std::string (*)(std::string_view content);

/// Keeps placeholders: they identify nothing and are often the reported fault.
std::string Serial(std::string_view content) {
    return Value(content) ? "RECORDED-SERIAL\n" : std::string(content);
}

/// Only the lines that begin with one of `keys`; a processor's lines repeat for every core, one of each is
/// enough.
template <std::size_t N>
std::string Lines(std::string_view content, const std::array<std::string_view, N>& keys) {
    std::string kept;
    std::array<bool, N> seen{};
    while (!content.empty()) {
        const auto end = std::min(content.find('\n'), content.size());
        const std::string_view line = content.substr(0, end);
        content.remove_prefix(std::min(end + 1, content.size()));
        const auto* key =
            std::ranges::find_if(keys, [line](std::string_view k) { return line.starts_with(k); });
        const auto index = static_cast<std::size_t>(key - keys.begin());
        const bool repeats = key != keys.end() && key->ends_with("_");
        if (key != keys.end() && (repeats || !seen[index])) {
            seen[index] = true;
            kept.append(line).append("\n");
        }
    }
    return kept;
}

std::string ProcessorLines(std::string_view content) {
    return Lines(content, std::array<std::string_view, 1>{"model name"});
}

std::string MemoryLines(std::string_view content) {
    return Lines(content, std::array<std::string_view, 1>{"MemTotal"});
}

std::string DeviceManagerLines(std::string_view content) {
    const std::string lines = Lines(content, std::array<std::string_view, 1>{"E:MEMORY_"});
    std::string kept;
    for (std::string_view rest = lines; !rest.empty();) {
        const auto end = rest.find('\n');
        const std::string_view line = rest.substr(0, end);
        const std::string_view key = line.substr(0, line.find('='));
        if (key.ends_with("_SIZE") || key.ends_with("_TYPE") || key.ends_with("_NUM_DEVICES")) {
            kept.append(line).append("\n");
        }
        rest.remove_prefix(end + 1);
    }
    return kept;
}

std::string ReleaseLines(std::string_view content) {
    return Lines(content, std::array<std::string_view, 5>{
                              "PRETTY_NAME=", "NAME=", "VERSION_ID=", "BUILD_ID=", "IMAGE_VERSION="});
}

/// The structures that are read, with every string but a processor's name as a row of "x": memory modules and
/// processors carry serial numbers and asset tags.
std::string Table(std::string_view content) {
    std::string table;
    for (const SmbiosStructure& structure : ParseSmbios(content)) {
        const bool read = structure.Type == smbios::kProcessor || structure.Type == smbios::kPortConnector ||
                          structure.Type == smbios::kMemoryArray || structure.Type == smbios::kMemoryDevice ||
                          structure.Type == smbios::kHardwareSecurity;
        if (!read) {
            continue;
        }
        std::string formatted(structure.Formatted);
        if (structure.Type == smbios::kProcessor && formatted.size() >= 0x10) {
            formatted.replace(8, 8, 8, '\0');  // the processor's ID
        }
        table += formatted;
        const std::string_view name =
            structure.Type == smbios::kProcessor ? structure.Text(0x10) : std::string_view();
        for (const std::string_view text : structure.Strings) {
            table += text.data() == name.data() ? std::string(text) : std::string(text.size(), 'x');
            table += '\0';
        }
        table.append(structure.Strings.empty() ? 2 : 1, '\0');
    }
    return table;
}

struct Rule {
    std::string_view Ending;
    Replacer Replace;
};

constexpr std::array kRules{
    Rule{"_serial", Serial},
    Rule{"/serial-number", Serial},
    Rule{"/tables/DMI", Table},
    Rule{"/raw", Table},
    Rule{"/proc/cpuinfo", ProcessorLines},
    Rule{"/proc/meminfo", MemoryLines},
    Rule{"/os-release", ReleaseLines},
    Rule{"/+dmi:id", DeviceManagerLines},
};

class Writer {
  public:
    explicit Writer(std::filesystem::path folder) : m_folder(std::move(folder)) {
        std::error_code error;
        std::filesystem::create_directories(m_folder, error);
        if (!error && !std::filesystem::is_empty(m_folder, error) && !error) {
            error = std::make_error_code(std::errc::directory_not_empty);
        }
        if (error) {
            throw platform::ExceptionFromErrno("record to " + m_folder.string(), error.value());
        }
    }

    void File(const std::string& path, std::string_view content) const {
        const std::string text = WithoutIdentifiers(path, content);
        const std::filesystem::path target = Place(path);
        const platform::FileDescriptor file(
            open(target.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
        if (!file) {
            throw platform::ExceptionFromErrno("create " + target.string(), errno);
        }
        platform::WriteAt(file, target, std::as_bytes(std::span(text)), 0);
    }

    void Link(const std::string& path, const std::string& target) const {
        const std::filesystem::path place = Place(path);
        if (symlink(target.c_str(), place.c_str()) != 0 && errno != EEXIST) {
            throw platform::ExceptionFromErrno("link " + place.string(), errno);
        }
    }

  private:
    std::filesystem::path Place(const std::string& path) const {
        std::filesystem::path place = m_folder / std::filesystem::path(path).relative_path();
        std::error_code error;
        std::filesystem::create_directories(place.parent_path(), error);
        return place;
    }

    std::filesystem::path m_folder;
};

}  // namespace

std::string WithoutIdentifiers(std::string_view path, std::string_view content) {
    const auto* rule = std::ranges::find_if(
        kRules, [path](const Rule& candidate) { return path.ends_with(candidate.Ending); });
    return rule == kRules.end() ? std::string(content) : rule->Replace(content);
}

std::vector<std::string> Record(const std::string& root, const std::string& folder) {
    const Writer writer(folder);
    MachineFiles files(root, {.File = [&writer](const std::string& path,
                                                std::string_view content) { writer.File(path, content); },
                              .Link = [&writer](const std::string& path,
                                                const std::string& target) { writer.Link(path, target); }});
    ReadSystemInformation(files);
    ReadUsbTypeC(files);
    // Sources that this machine did not need, because an earlier one told: a fault may lie in the choice.
    ReadSmbios(files);
    for (const char* path : {"/run/udev/data/+dmi:id", "/usr/lib/os-release"}) {
        files.Read(path);
    }
    return files.Notes();
}

}  // namespace daemon_service
