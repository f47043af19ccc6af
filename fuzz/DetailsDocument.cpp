// The details document: any text.

#include "fuzz/Target.h"
#include "platform/core/Text.h"
#include "viewmodel/MachineDetails.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    try {
        const auto details = Kelvane::ParseMachineDetails(platform::FromUtf8(text));
        const auto written = details.Document.Stringify();
        fuzz::Require(platform::JsonObject::Parse(written).Stringify() == written);
    } catch (const platform::Exception&) {
    }
    return 0;
}

std::vector<std::string> fuzz::Seeds() {
    return {
        FileOf("tests/machines/business-laptop/details.json"),
        FileOf("tests/machines/laptop-with-dock/details.json"),
        FileOf("tests/machines/server-mixed-dimms/details.json"),
        R"({"version":1,"machine":{"kind":"","maker":{"missing":"x","source":""}},"fields":{},"usbTypeC":{"ports":[]}})"};
}
