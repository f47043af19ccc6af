// The two records that the service sends, as text: what the pages make of any text. The first byte says
// whether there is a window.

#include "daemon/machine/SystemInformation.h"
#include "daemon/machine/UsbTypeC.h"
#include "fuzz/Target.h"
#include "pages/Split.h"
#include "pages/main/SystemInfoRecord.h"
#include "pages/usbc/USBTypeCRecord.h"
#include "platform/core/Text.h"
#include "tests/support/RecordedMachine.h"

using namespace Kelvane;

namespace {

void CheckSplit(std::u16string_view record, std::u16string_view delimiter) {
    TraceLines lines;
    std::u16string joined;
    for (const auto& piece : Split(record, delimiter, u"Fuzz", lines)) {
        joined += piece + std::u16string(delimiter);
        fuzz::Require(piece.find(delimiter) == piece.npos);
    }
    fuzz::Require(joined == std::u16string(record) + std::u16string(delimiter));
}

void CheckSystemInfo(std::u16string_view record, const DisplayTexts& texts) {
    const auto value = InterpretSystemInfo(record, texts).Value;
    if (!value) {
        return;
    }
    for (std::size_t row = 0; row < kSystemInfoRows; ++row) {
        const auto& text = value->Rows[row];
        fuzz::Require(!text || HasValue(*text));
        fuzz::Require(!text || row == kMemoryField || record.find(*text) != record.npos);
    }
    fuzz::Require(!value->BiosPassword || value->Bios == SystemInfo::BiosRow::Shown);
}

}  // namespace

void fuzz::Run(std::string_view input) {
    const bool hasWindow = TakeByte(input) % 2 == 0;
    const auto record = platform::FromUtf8(input);
    const DisplayTexts texts{
        .Lookup = [](std::u16string_view key) { return u"[" + std::u16string(key) + u"]"; },
        .HasWindow = hasWindow};
    for (const auto delimiter : {kFieldSeparator, kSubfieldSeparator, std::u16string_view(u",")}) {
        CheckSplit(record, delimiter);
    }
    CheckSystemInfo(record, texts);
    fuzz::Require(!InterpretUsbTypeCOffer(record).HasPage || record.find(u" USB ") != record.npos);
    const auto typeC = InterpretUsbTypeC(record, texts);
    for (std::size_t i = 0; i < kUsbTypeCFields; ++i) {
        fuzz::Require(texts.HasWindow || !typeC.Values[i]);
        fuzz::Require(!typeC.Supports[i] || typeC.Values[i]);
    }
}

std::vector<std::string> fuzz::Seeds() {
    std::vector<std::string> seeds;
    for (const std::string& name : daemon_service::MachineNames()) {
        daemon_service::MachineFiles files(daemon_service::MachineFolder(name));
        for (const auto& record : {daemon_service::Joined(daemon_service::ReadSystemInformation(files)),
                                   daemon_service::Joined(daemon_service::ReadUsbTypeC(files))}) {
            Add(seeds, {0, 1}, platform::ToUtf8(record));
        }
    }
    for (const std::string_view record :
         {"a<.^.>b<.^.>c<.^.>8 GB (7 GB usable)<.^.>e<.^.>f<.^.>g<.^.>h<.^.>i<.^.>99999999999<.^.>k",
          "a<.^.>b<.^.>c<.^.>d<.^.>e<.^.>f<.^.>g<.^.>h<.^.>i<.^.>null<.^.>k",
          "a<.^.>b<.^.>c<.^.>d<.^.>e<.^.>f<.^.>g<.^.>h<.^.>i<.^.>0x10<.^.>k", "a,b,c,8 usable,e,f,g,h,i,x,k",
          "v(~!~)USB 3.1 Gen 1(~!~), USB 3.2 Gen 1<.^.>Supported<.^.>x<.^.>Supported<.^.>x<.^.>100 "
          "W<.^.>x"}) {
        Add(seeds, {0, 1}, record);
    }
    return seeds;
}
