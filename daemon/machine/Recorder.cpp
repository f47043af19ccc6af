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

#include "daemon/machine/ReadMachine.h"
#include "daemon/machine/Smbios.h"
#include "daemon/machine/Values.h"
#include "platform/core/Exception.h"

namespace daemon_service {

namespace {

using Replacer = std::string (*)(std::string_view content);

/// Keeps placeholders: they identify nothing and are often the reported fault.
std::string Serial(std::string_view content) {
    return Value(content) ? "RECORDED-SERIAL\n" : std::string(content);
}

/// The lines that `keep` wants.
template <typename Predicate>
std::string KeptLines(std::string_view content, Predicate keep) {
    std::string kept;
    for (const std::string_view line : platform::Lines(content)) {
        if (keep(line)) {
            kept.append(line).append("\n");
        }
    }
    return kept;
}

/// A processor's lines repeat for every core; its name is needed once, and of its flags only one.
std::string ProcessorLines(std::string_view content) {
    std::string kept;
    bool named = false;
    bool flagged = false;
    for (const std::string_view line : platform::Lines(content)) {
        const auto pair = platform::CutLine(line, ':').value_or(platform::KeyValue{});
        if (pair.Key == "flags" && !std::exchange(flagged, true)) {
            const bool isVirtual =
                std::string(" ").append(pair.Value).append(" ").find(" hypervisor ") != std::string::npos;
            kept += isVirtual ? "flags : hypervisor\n" : "";
        } else if (pair.Key == "processor" || pair.Key == "physical id" || pair.Key == "core id" ||
                   ((pair.Key == "model name" || pair.Key == "Model Name") && !std::exchange(named, true))) {
            kept.append(line).append("\n");
        }
    }
    return kept;
}

std::string MemoryLines(std::string_view content) {
    return KeptLines(content, [](std::string_view line) { return line.starts_with("MemTotal:"); });
}

std::string DeviceManagerLines(std::string_view content) {
    return KeptLines(content, [](std::string_view line) {
        const std::string_view key = line.substr(0, line.find('='));
        return key.starts_with("E:MEMORY_") &&
               (key.ends_with("_SIZE") || key.ends_with("_TYPE") || key.ends_with("_NUM_DEVICES"));
    });
}

std::string ReleaseLines(std::string_view content) {
    constexpr std::string_view kKeys[] = {"PRETTY_NAME", "NAME", "VERSION_ID", "BUILD_ID", "IMAGE_VERSION"};
    return KeptLines(content, [&kKeys](std::string_view line) {
        const auto pair = platform::CutLine(line, '=');
        return pair && std::ranges::count(kKeys, pair->Key) > 0;
    });
}

/// A type of structure whose formatted part is read.
struct KeptStructure {
    std::uint8_t Type;
    std::vector<std::size_t> Strings;      ///< offsets of those that identify nothing and are read
    std::vector<std::size_t> Identifiers;  ///< offsets of those that identify the part
};

const KeptStructure kKept[] = {{smbios::kFirmware, {}, {}},
                               {smbios::kProcessor, {0x10}, {0x20, 0x21}},
                               {smbios::kPortConnector, {0x04, 0x06}, {}},
                               {smbios::kMemoryArray, {}, {}},
                               {smbios::kMemoryDevice, {0x10}, {0x18, 0x19}},
                               {smbios::kHardwareSecurity, {}, {}}};

/// Copies `bytes` of the original back into `table`, which is blank.
void Restore(std::string& table, std::string_view original, std::string_view bytes) {
    table.replace(static_cast<std::size_t>(bytes.data() - original.data()), bytes.size(), bytes);
}

/// The table at its full length, so that its faults stay where they are. Kept are the headers, what is read
/// of the formatted parts, and few strings; everything else is a row of "x", in which only the zeros stay.
std::string Table(std::string_view content) {
    std::string table(content);
    std::ranges::replace_if(
        table, [](char c) { return c != '\0'; }, 'x');
    constexpr std::size_t kHeaderBytes = 4;
    std::size_t end = 0;
    for (const SmbiosStructure& structure : ParseSmbios(content)) {
        const std::string_view formatted = structure.Formatted;
        Restore(table, content, formatted.substr(0, kHeaderBytes));
        end = static_cast<std::size_t>(formatted.data() - content.data()) + formatted.size();
        end = content.find(std::string_view("\0\0", 2), end) + 2;
        const auto* kept = std::ranges::find(kKept, structure.Type, &KeptStructure::Type);
        if (kept == std::end(kKept)) {
            continue;
        }
        Restore(table, content, formatted);
        if (structure.Type == smbios::kProcessor && formatted.size() >= 0x10) {
            table.replace(static_cast<std::size_t>(formatted.data() - content.data()) + 8, 8, 8, 'x');
        }
        for (const std::size_t offset : kept->Strings) {
            const bool identifies = std::ranges::any_of(kept->Identifiers, [&](std::size_t identifier) {
                return structure.Byte(identifier) == structure.Byte(offset);
            });
            if (!identifies && !structure.Text(offset).empty()) {
                Restore(table, content, structure.Text(offset));
            }
        }
    }
    // The end marker, which shows why the table ends here. What follows it is never read.
    Restore(table, content, content.substr(end, kHeaderBytes));
    if (content.size() > end && content[end] == static_cast<char>(smbios::kEndOfTable)) {
        table.resize(std::min(table.size(), end + kHeaderBytes + 2));
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
    ReadMachine(files);
    // Sources that this machine did not need, because an earlier one had the value: a fault may lie in the
    // choice.
    ReadSmbios(files);
    for (const char* path : {"/run/udev/data/+dmi:id", "/usr/lib/os-release"}) {
        files.Read(path);
    }
    return files.Notes();
}

}  // namespace daemon_service
