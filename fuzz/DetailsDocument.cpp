// The details document, and what the pages make of it: any text. A record of USB Type-C, which the document
// explains, may follow it behind a zero.

#include <algorithm>

#include "fuzz/Target.h"
#include "pages/main/MachineTexts.h"
#include "pages/usbc/TypeCPorts.h"
#include "platform/core/Text.h"
#include "viewmodel/MachineDetails.h"

using namespace Kelvane;

namespace {

const DisplayTexts kTexts{
    .Lookup =
        [](std::u16string_view key) { return u"[" + std::u16string(key) + u" {power} {first} {second}]"; },
    .HasWindow = true};

void ShowMachine(const MachineDetails* details) {
    fuzz::Require(MachineGlyph(details).size() == 1);
    const auto rows = MachineRows(details, kTexts);
    fuzz::Require(std::ranges::count(rows, u'\n') <= 2);
    for (const auto& row : kPageRows) {
        const auto& field = FieldOf(details, row);
        fuzz::Require(ReasonText(field, kTexts).empty() || !field.Value.empty() || field.Missing);
        SourceText(field);
        fuzz::Require(!std::ranges::any_of(TextRow(field.Source, field.Value), platform::SteersTerminal));
    }
}

void ShowPorts(const std::vector<TypeCPortDetails>& ports, std::u16string_view record) {
    const auto texts = TextsOfPorts(ports, kTexts);
    fuzz::Require(texts.size() == ports.size());
    for (const auto& port : texts) {
        fuzz::Require(!port.Name.empty() && !port.Abilities.empty() && !port.Power.empty());
    }
    NotesOfValues(InterpretUsbTypeC(record, kTexts), ports, kTexts);
}

}  // namespace

void fuzz::Run(std::string_view input) {
    const auto document = input.substr(0, input.find('\0'));
    try {
        const auto details = ParseMachineDetails(platform::FromUtf8(document));
        const auto written = details.Document.Stringify();
        fuzz::Require(platform::JsonObject::Parse(written).Stringify() == written);
        ShowMachine(&details);
        ShowPorts(details.Ports,
                  platform::FromUtf8(input.substr(std::min(document.size() + 1, input.size()))));
    } catch (const platform::Exception&) {
        ShowMachine(nullptr);
    }
}

std::vector<std::string> fuzz::Seeds() {
    std::vector<std::string> seeds;
    for (const std::string name :
         {"business-laptop", "laptop-with-dock", "server-mixed-dimms", "usb4-laptop"}) {
        const auto document = FileOf("tests/machines/" + name + "/details.json");
        seeds.push_back(document);
        for (const std::string_view record :
             {"USB 2.0(~!~), USB 3.2 Gen 2<.^.>Supported<.^.>x<.^.>Supported<.^.>Supported<.^.>15 W",
              "(~!~), USB4"}) {
            seeds.push_back(document + '\0' + std::string(record));
        }
    }
    seeds.emplace_back(
        R"({"version":1,"machine":{"kind":"","maker":{"missing":"x","source":""}},"fields":{},"usbTypeC":{"ports":[]}})");
    seeds.emplace_back(
        R"({"version":1,"machine":{"kind":"server","maker":{"value":"M","source":"s"}},"fields":{"memory":{"missing":)"
        R"("placeholder","detail":"d","source":"s"}},"usbTypeC":{"ports":[]},"firmwareRequest":{"kind":"bootEntry",)"
        R"("name":"n","supported":false,"pending":true,"status":1e300}})");
    return seeds;
}
