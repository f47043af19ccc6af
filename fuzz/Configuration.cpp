// The administrator's configuration: any text.

#include "daemon/actions/Configuration.h"

#include <unistd.h>

#include "fuzz/Target.h"

using namespace daemon_service;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto path = fuzz::WriteFile("service.conf", text);
    const auto named = ToolByName(text);
    fuzz::Require(!named || ToolName(*named) == text);
    try {
        const auto configuration = LoadConfiguration(path, geteuid());
        for (const auto tool : {Tool::SystemInformation, Tool::UsbTypeC}) {
            const auto command = configuration.ToolCommand(tool, [](const std::string&) { return true; });
            fuzz::Require(command && command->front().starts_with('/'));
        }
    } catch (const ConfigurationError& error) {
        fuzz::Require(std::string_view(error.what()).starts_with(path.string() + ", line "));
    }
    return 0;
}

std::vector<std::string> fuzz::Seeds() {
    return {FileOf("package/systemd/service.conf"),
            "system-information-tool = /usr/bin/tool --flag \"two words\"\n"
            "usb-type-c-tool = /usr/bin/tool\nfirmware-request = boot-entry auto-windows\n",
            "usb-type-c", "firmware-request = off\n", "firmware-request = firmware-setup\n"};
}
