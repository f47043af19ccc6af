#include "pages/main/SystemInfoRecord.h"

#include <gtest/gtest.h>

#include "tests/pages/RecordSupport.h"
#include "tests/support/Golden.h"

namespace Kelvane {

namespace {

/// What is made of a record: its rows, the BIOS password's, and the lines that the trace gets.
std::string Interpretation(const std::u16string& record, const DisplayTexts& texts) {
    const auto [value, lines] = InterpretSystemInfo(record, texts);
    std::string text = platform::ToUtf8(record) + (texts.HasWindow ? "\n" : " (without a window)\n");
    if (value) {
        for (const auto& row : value->Rows) {
            text += " " + Quoted(row);
        }
        constexpr const char* kBiosRows[] = {"unchanged", "hidden", "shown"};
        text += std::string("\n BIOS password ") + kBiosRows[static_cast<int>(value->Bios)] + " " +
                Quoted(value->BiosPassword) + "\n";
    }
    return text + WithoutSplits(lines);
}

TEST(SystemInfoRecord, GoldenInterpretations) {
    const std::u16string nine = u"a<.^.>b<.^.>c<.^.>d<.^.>e<.^.>f<.^.>g<.^.>h<.^.>i";
    std::vector<std::u16string> records = {
        nine,
        nine + u"<.^.>j",
        nine + u"<.^.>j<.^.>k<.^.>l",
        u"a,b,c,d,e,f,g,h,i",
        u"a,b,c,d,e,f,g,h,i,j",
        u"a,b,c,d,e,f,g,h,i,0,k",
        u"a,b,c,d,e,f,g,h,i,j,k,l",
        u"",
        u"null<.^.><.^.>NULL<.^.>null<.^.>e<.^.>f<.^.>g<.^.>h<.^.>null <.^.>j",
        u"usable<.^.>b<.^.>c<.^.>16 GB (15.6 usable, usable)<.^.>e<.^.>f<.^.>g<.^.>h<.^.>i<.^.>j",
        u"a<.^.>b<.^.>c<.^.>16 GB (15 Usable)<.^.>e<.^.>f<.^.>g<.^.>h<.^.>i<.^.>j",
    };
    for (const auto* const status : {u"null", u"", u"0", u"1", u"15", u"16", u"0x10", u"255", u"256", u"-1",
                                     u"010", u" 12abc", u"letters", u"99999999999"}) {
        records.push_back(nine + u"<.^.>" + status + u"<.^.>k");
    }
    std::string all;
    for (const auto& record : records) {
        all += Interpretation(record, Keys());
    }
    all += Interpretation(u"a,b,c,8 usable,e,f,g,h,i,1,k", Keys(false));
    tests::ExpectGolden("pages/SystemInfoRecords.txt", all);
}

TEST(SystemInfoRecord, GoldenOffersOfTheUsbTypeCPage) {
    std::string all;
    for (const auto* const record :
         {u"USB 2.0, USB 3.2 Gen 2<.^.>x", u"v(~!~)USB 3.1 Gen 1(~!~), USB 3.2 Gen 1", u"x,, USB 4,",
          u"USB 4", u"x, USB 3.2 Gen 20", u"x<.^.>, USB 4", u""}) {
        const auto offer = InterpretUsbTypeCOffer(record);
        all +=
            platform::ToUtf8(record) + (offer.HasPage ? "\n page\n" : "\n no page\n") + Readable(offer.Lines);
    }
    tests::ExpectGolden("pages/UsbTypeCOffers.txt", all);
}

}  // namespace

}  // namespace Kelvane
