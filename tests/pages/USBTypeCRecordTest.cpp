#include "pages/usbc/USBTypeCRecord.h"

#include <gtest/gtest.h>

#include "pages/Split.h"
#include "tests/pages/RecordSupport.h"
#include "tests/support/Golden.h"

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

TEST(USBTypeCRecord, GoldenInterpretations) {
    std::string all;
    const auto interpret = [&](std::u16string_view record, const DisplayTexts& texts) {
        const auto [values, supports, lines] = InterpretUsbTypeC(record, texts);
        all += platform::ToUtf8(record) + (texts.HasWindow ? "\n" : " (without a window)\n");
        for (std::size_t i = 0; i < values.size(); ++i) {
            all += " " + Quoted(values[i]) + (!supports[i] ? "" : *supports[i] ? "+" : "-");
        }
        all += "\n" + WithoutSplits(lines);
    };
    for (const auto* const record :
         {u"USB 2.0(~!~)USB 3.1 Gen 2<.^.>Supported<.^.>x<.^.>Supported<.^.>supported<.^.>100 W",
          u"(~!~)USB 4<.^.> Supported<.^.><.^.>Supported", u"USB 2.0(~!~)", u"v(~!~) USB 3.1 Gen 1",
          u"v(~!~)USB 3.1 Gen 1(~!~)more", u"USB 2.0, USB 4", u"a<.^.>b<.^.>c<.^.>d<.^.>e<.^.>null<.^.>g",
          u"a<.^.>b<.^.>c<.^.>d<.^.>e<.^.>NULL", u""}) {
        interpret(record, Keys());
    }
    interpret(u"x", Keys(false));
    tests::ExpectGolden("pages/UsbTypeCRecords.txt", all);
}

}  // namespace

}  // namespace Kelvane
