#include "pages/usbc/USBTypeCRecord.h"

#include <gtest/gtest.h>

#include "pages/Split.h"
#include "tests/pages/RecordSupport.h"

namespace Kelvane {

namespace {

TEST(Split, KeepsEmptyPiecesAndEndsForAnEmptyDelimiter) {
    using Parts = std::vector<std::u16string>;
    TraceLines lines;
    const auto split = [&](std::u16string_view text, std::u16string_view delimiter) {
        return Split(text, delimiter, u"Kelvane::Test", lines);
    };
    EXPECT_EQ(split(u"x<.^.><.^.>y", kFieldSeparator), (Parts{u"x", u"", u"y"}));
    EXPECT_EQ(split(u",x,", u","), (Parts{u"", u"x", u""}));
    EXPECT_EQ(split(u"", u","), (Parts{u""}));
    EXPECT_EQ(split(u"abc", u""), (Parts{u"abc"}));
}

TEST(USBTypeCRecord, HasADisplayTextForEachFieldThatItKnows) {
    const std::u16string yes = u"[Supported/Text]";
    const std::u16string no = u"[NotSupported/Text]";
    const std::pair<std::u16string, UsbTypeCDisplayValues> cases[] = {
        {u"USB 2.0(~!~)USB 3.1 Gen 2<.^.>Supported<.^.>x<.^.>Supported<.^.>supported<.^.>100 W",
         {u"USB 2.0, [USB31Gen2/Text]", yes, no, yes, no, u"100 W"}},
        {u"(~!~)USB 4<.^.> Supported<.^.><.^.>Supported",
         {u"USB 4", no, no, yes, std::nullopt, std::nullopt}},
        {u"USB 2.0(~!~)", {u"USB 2.0, "}},
        {u"v(~!~) USB 3.1 Gen 1", {u"v,  USB 3.1 Gen 1"}},
        {u"v(~!~)USB 3.1 Gen 1(~!~)more", {u"v, [USB31Gen1/Text]"}},
        {u"USB 2.0, USB 4", {u"USB 2.0, USB 4"}},
        {u"a<.^.>b<.^.>c<.^.>d<.^.>e<.^.>null<.^.>g", {u"a", no, no, no, no, std::nullopt}},
        {u"a<.^.>b<.^.>c<.^.>d<.^.>e<.^.>NULL", {u"a", no, no, no, no, u"NULL"}},
        {u"", {u""}}};
    for (const auto& [record, values] : cases) {
        EXPECT_EQ(InterpretUsbTypeC(record, Keys()).Values, values) << platform::ToUtf8(record);
    }
}

TEST(USBTypeCRecord, GivesTheTraceItsLines) {
    const auto lines = [](std::u16string_view record, const DisplayTexts& texts) {
        auto readable = Readable(InterpretUsbTypeC(record, texts).Lines);
        std::erase_if(readable, [](const auto& line) { return line.find("ParseUSB") != std::string::npos; });
        return readable;
    };
    const std::string of = "Kelvane::USBTypeCPage::UpdateUI";
    const std::string warning =
        "W " + of +
        "Required Number of required USB-C Components are not present when parsed with "
        "new separator(<.^.>)";
    EXPECT_EQ(
        lines(u"v(~!~)USB 3.1 Gen 1<.^.>Supported<.^.>c<.^.>d<.^.>e<.^.>9 W", Keys()),
        (std::vector<std::string>{
            "V " + of +
                "Complete USB Type C Info : v(~!~)USB 3.1 Gen 1<.^.>Supported<.^.>c<.^.>d<.^.>e<.^.>9 W",
            "I " + of + "Split String Count = 6", "I " + of + "Split String Count = 2",
            "V " + of + " usbDeviceValue : v", "V " + of + " USBDeviceGeneration : USB 3.1 Gen 1 Length : 13",
            "V " + of + "The USB device is USB 2.0 ", "V " + of + " usbResourceValue : [USB31Gen1/Text]",
            "V Kelvane::USBTypeCPage::CheckSupportStatusEntry",
            "V Kelvane::USBTypeCPage::CheckSupportStatusExit",
            "V Kelvane::USBTypeCPage::CheckSupportStatusEntry",
            "V Kelvane::USBTypeCPage::CheckSupportStatusExit",
            "V Kelvane::USBTypeCPage::CheckSupportStatusEntry",
            "V Kelvane::USBTypeCPage::CheckSupportStatusExit",
            "V Kelvane::USBTypeCPage::CheckSupportStatusEntry",
            "V Kelvane::USBTypeCPage::CheckSupportStatusExit", "V " + of + " Max Power : 9 W"}));
    EXPECT_EQ(lines(u"(~!~)x", Keys()).back(), "V " + of + "The USB device doesnt have USB 2.0 ");
    EXPECT_EQ(lines(u"x", Keys()),
              (std::vector<std::string>{
                  "V " + of + "Complete USB Type C Info : x", "I " + of + "Split String Count = 1", warning,
                  "I " + of + "Split String Count = 1",
                  "W " + of +
                      "Required Number of required USB Device Components are not present "
                      "when parsed with new separator ','"}));
    auto windowless = Keys();
    windowless.HasWindow = false;
    EXPECT_EQ(lines(u"x", windowless).back(), "E " + of + "GetForCurrentThread() = NULL");
    EXPECT_EQ(InterpretUsbTypeC(u"x", windowless).Values, UsbTypeCDisplayValues());
}

}  // namespace

}  // namespace Kelvane
