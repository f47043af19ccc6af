// The administrator's configuration: any text, in a file of any kind. The first byte picks the kind; 0 is a
// file that may be followed.

#include "daemon/actions/Configuration.h"

#include <sys/stat.h>
#include <unistd.h>

#include "fuzz/Target.h"

using namespace daemon_service;

namespace {

enum Kind : std::uint8_t { kSound, kWritable, kLarge, kFolder, kMissing, kDangling, kLoop, kKinds };

std::string Place(Kind kind, std::string text) {
    const auto path = fuzz::Folder() / "service.conf";
    std::filesystem::remove_all(path);
    if (kind == kFolder) {
        std::filesystem::create_directory(path);
    } else if (kind == kDangling || kind == kLoop) {
        std::filesystem::create_symlink(kind == kLoop ? path : fuzz::Folder() / "none", path);
    } else if (kind != kMissing) {
        if (kind == kLarge) {
            text.resize(text.size() + (std::size_t{1} << 16) + 1, '\n');
        }
        fuzz::WriteFile("service.conf", text);
        chmod(path.c_str(), kind == kWritable ? 0664 : 0644);
    }
    return path;
}

void CheckTools(const Configuration& configuration) {
    for (const auto tool : {Tool::SystemInformation, Tool::UsbTypeC}) {
        for (const bool isInstalled : {false, true}) {
            const auto command =
                configuration.ToolCommand(tool, [=](const std::string&) { return isInstalled; });
            fuzz::Require(command ? command->front().starts_with('/') : !isInstalled);
        }
    }
}

}  // namespace

void fuzz::Run(std::string_view input) {
    const auto kind = static_cast<Kind>(TakeByte(input) % kKinds);
    const std::string text(input);
    const auto path = Place(kind, text);
    const auto named = ToolByName(text);
    fuzz::Require(!named || ToolName(*named) == text);
    fuzz::Require((VersionOf(path) == FileVersion()) == (kind >= kMissing));
    try {
        CheckTools(LoadConfiguration(path, geteuid()));
        fuzz::Require(kind == kSound || kind == kMissing || kind == kDangling);
    } catch (const ConfigurationError& error) {
        const std::string_view problem(error.what());
        fuzz::Require(problem.starts_with(path + (kind == kSound ? ", line " : "")) && kind != kMissing);
    }
}

std::vector<std::string> fuzz::Seeds() {
    std::vector<std::string> seeds;
    const auto shipped = FileOf("package/systemd/service.conf");
    Add(seeds, {kSound, kWritable, kLarge, kFolder, kMissing, kDangling, kLoop}, shipped);
    for (const std::string_view text :
         {"system-information-tool = /usr/bin/tool\t--flag \"two words\"\nusb-type-c-tool = /usr/bin/tool\n"
          "firmware-request = boot-entry auto-windows\nanswer-remote-desktops = yes\nanswer-group = root\n",
          "usb-type-c", "firmware-request = off\n", "firmware-request = firmware-setup\n",
          "firmware-request = x\n", "answer-remote-desktops = no\n", "answer-remote-desktops = x\n",
          "answer-group = none\n", "usb-type-c-tool = \"/usr\n", "usb-type-c-tool = tool\n",
          "usb-type-c-tool =\n", "x = y\n", "x\n"}) {
        Add(seeds, {kSound}, text);
    }
    return seeds;
}
