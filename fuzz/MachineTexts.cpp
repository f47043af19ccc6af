// Files of /sys, /proc and /etc: whole machines whose files hold any bytes. The input is a row of files, each
// two bytes that pick its path and the content up to the next 0xFF.

#include <unistd.h>

#include <algorithm>
#include <set>
#include <tuple>

#include "daemon/machine/SystemInformation.h"
#include "daemon/machine/UsbTypeC.h"
#include "daemon/machine/Values.h"
#include "fuzz/Target.h"
#include "pages/Split.h"
#include "tests/support/RecordedMachine.h"

namespace {

/// Every path in the machines of tests/machines, sorted. Those that end in "connector" are symbolic links,
/// with the content as their target.
const std::vector<std::string>& Paths() {
    static const std::vector<std::string> kPaths = [] {
        std::set<std::string> paths;
        for (const std::string& name : daemon_service::MachineNames()) {
            const std::string folder = daemon_service::MachineFolder(name);
            for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
                const auto path = entry.path().lexically_relative(folder);
                const bool isGolden = !path.has_parent_path();
                if ((!entry.is_directory() || entry.is_symlink()) && !isGolden) {
                    paths.insert(path);
                }
            }
        }
        return std::vector(paths.begin(), paths.end());
    }();
    return kPaths;
}

/// Ends a file's content.
constexpr char kEnd = '\xFF';

std::string Encode(const std::filesystem::path& folder) {
    std::string input;
    for (std::size_t i = 0; i < Paths().size(); ++i) {
        const auto path = folder / Paths()[i];
        if (std::filesystem::exists(std::filesystem::symlink_status(path))) {
            input += static_cast<char>(i & 0xFF);
            input += static_cast<char>(i >> 8);
            input += std::filesystem::is_symlink(path) ? std::filesystem::read_symlink(path).string()
                                                       : fuzz::FileOf(path);
            input += kEnd;
        }
    }
    return input;
}

/// The fields that a reader of the joined record finds are the fields that were written.
void Check(const std::vector<daemon_service::Field>& fields, std::size_t limit) {
    const std::u16string record = daemon_service::Joined(fields);
    fuzz::Require(record.size() <= limit);
    Kelvane::TraceLines lines;
    fuzz::Require(Kelvane::Split(record, daemon_service::kFieldSeparator, u"Fuzz", lines).size() ==
                  std::max<std::size_t>(fields.size(), 1));
    for (const char16_t unit : record) {
        fuzz::Require(unit >= 0x20 && unit != 0x7F);
    }
}

}  // namespace

void fuzz::Run(std::string_view input) {
    const auto root = fuzz::Folder() / "machine";
    std::filesystem::remove_all(root);
    std::filesystem::create_directories(root);
    while (input.size() >= 2) {
        const auto low = TakeByte(input);
        const auto path = root / Paths()[(low | std::size_t{TakeByte(input)} << 8) % Paths().size()];
        const std::string_view content = input.substr(0, input.find(kEnd));
        if (path.filename() == "connector") {
            std::filesystem::create_directories(path.parent_path());
            std::ignore = symlink(std::string(content).c_str(), path.c_str());
        } else {
            WriteFile(path, content);
        }
        input.remove_prefix(std::min(content.size() + 1, input.size()));
    }
    daemon_service::MachineFiles files(root);
    const auto information = daemon_service::ReadSystemInformation(files);
    fuzz::Require(information.size() == 10 || information.size() == 11);
    Check(information, daemon_service::kSystemInformationLimit);
    const auto typeC = daemon_service::ReadUsbTypeC(files);
    fuzz::Require(typeC.empty() || typeC.size() == 6);
    Check(typeC, daemon_service::kUsbTypeCLimit);
}

std::vector<std::string> fuzz::Seeds() {
    std::vector<std::string> seeds;
    for (const std::string& name : daemon_service::MachineNames()) {
        seeds.push_back(Encode(daemon_service::MachineFolder(name)));
    }
    return seeds;
}
