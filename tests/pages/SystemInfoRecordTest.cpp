#include "pages/main/SystemInfoRecord.h"

#include <gtest/gtest.h>

#include "tests/pages/RecordSupport.h"

namespace Kelvane {

namespace {

using BiosRow = SystemInfo::BiosRow;

std::optional<SystemInfo> Interpret(std::u16string_view record) {
    return InterpretSystemInfo(record, Keys()).Value;
}

/// A long form with this BIOS password status.
std::u16string LongForm(const std::u16string& status) {
    return u"a<.^.>b<.^.>c<.^.>d<.^.>e<.^.>f<.^.>g<.^.>h<.^.>i<.^.>" + status + u"<.^.>k";
}

TEST(SystemInfoRecord, HasTenOrElevenNewFieldsOrAtLeastTenOldOnes) {
    const std::u16string nine = u"a<.^.>b<.^.>c<.^.>d<.^.>e<.^.>f<.^.>g<.^.>h<.^.>i";
    const auto with = [](BiosRow bios, std::optional<std::u16string> password = {}) {
        return SystemInfo{.Rows = {u"a", u"b", u"c", u"d", u"e", u"f", u"g", u"h", u"i"},
                          .Bios = bios,
                          .BiosPassword = std::move(password)};
    };
    EXPECT_EQ(Interpret(nine), std::nullopt);
    EXPECT_EQ(Interpret(nine + u"<.^.>j"), with(BiosRow::Hidden));
    EXPECT_EQ(Interpret(nine + u"<.^.>1<.^.>k"), with(BiosRow::Shown, u"[BiosCredentialValuePassword/Text]"));
    EXPECT_EQ(Interpret(nine + u"<.^.>null<.^.>"), with(BiosRow::Shown));
    EXPECT_EQ(Interpret(nine + u"<.^.><.^.>"), with(BiosRow::Shown));
    EXPECT_EQ(Interpret(nine + u"<.^.>j<.^.>k<.^.>l"), std::nullopt);
    EXPECT_EQ(Interpret(u"a,b,c,d,e,f,g,h,i"), std::nullopt);
    EXPECT_EQ(Interpret(u"a,b,c,d,e,f,g,h,i,j"), with(BiosRow::Hidden));
    EXPECT_EQ(Interpret(u"a,b,c,d,e,f,g,h,i,0,k"), with(BiosRow::Shown, u"[BiosCredentialValueNone/Text]"));
    EXPECT_EQ(Interpret(u"a,b,c,d,e,f,g,h,i,j,k,l"), with(BiosRow::Unchanged));
    EXPECT_EQ(Interpret(u""), std::nullopt);
}

TEST(SystemInfoRecord, HasNoTextForAFieldWithoutAValue) {
    const auto rows = Interpret(u"null<.^.><.^.>NULL<.^.>null<.^.>e<.^.>f<.^.>g<.^.>h<.^.>null <.^.>j")->Rows;
    EXPECT_EQ(rows, (decltype(rows){{{}, {}, u"NULL", {}, u"e", u"f", u"g", u"h", u"null "}}));
}

TEST(SystemInfoRecord, TranslatesTheFirstUsableOfTheMemory) {
    const auto memory = [](const std::u16string& field) {
        return Interpret(u"usable<.^.>b<.^.>c<.^.>" + field + u"<.^.>e<.^.>f<.^.>g<.^.>h<.^.>i<.^.>j")
            ->Rows[kMemoryField];
    };
    EXPECT_EQ(memory(u"16 GB (15.6 usable, usable)"), u"16 GB (15.6 [Usable/Text], usable)");
    EXPECT_EQ(memory(u"16 GB (15 Usable)"), u"16 GB (15 Usable)");
    EXPECT_EQ(memory(u"null"), std::nullopt);
}

TEST(SystemInfoRecord, NamesTheBiosCredentialOfEachStatus) {
    const std::u16string none = u"[BiosCredentialValueNone/Text]";
    const std::u16string password = u"[BiosCredentialValuePassword/Text]";
    const std::u16string veldra = u"[BiosCredentialValueVeldra/Text]";
    const std::pair<std::u16string, std::u16string> cases[] = {
        {u"0", none},       {u"1", password},      {u"15", password}, {u"16", veldra},
        {u"0x10", veldra},  {u"255", veldra},      {u"256", none},    {u"-1", none},
        {u"010", password}, {u" 12abc", password}, {u"letters", u""}, {u"99999999999", u""}};
    for (const auto& [status, text] : cases) {
        EXPECT_EQ(Interpret(LongForm(status))->BiosPassword, text) << platform::ToUtf8(status);
    }
}

TEST(SystemInfoRecord, OffersTheUsbTypeCPageForTheNamedGenerationsOnly) {
    const std::pair<std::u16string_view, bool> cases[] = {{u"USB 2.0, USB 3.2 Gen 2<.^.>x", true},
                                                          {u"v(~!~)USB 3.1 Gen 1(~!~), USB 3.2 Gen 1", true},
                                                          {u"x,, USB 4,", true},
                                                          {u"USB 4", false},
                                                          {u"x, USB 3.2 Gen 20", false},
                                                          {u"x<.^.>, USB 4", false},
                                                          {u"", false}};
    for (const auto& [record, hasPage] : cases) {
        EXPECT_EQ(InterpretUsbTypeCOffer(record).HasPage, hasPage) << platform::ToUtf8(record);
    }
    EXPECT_EQ(Readable(InterpretUsbTypeCOffer(u"v(~!~)w, USB 4<.^.>x").Lines),
              (std::vector<std::string>{
                  "V Kelvane::MainPage::ParseSystemInfoEntry",
                  "V Kelvane::MainPage::ParseSystemInfoFull String : v(~!~)w, USB 4<.^.>x",
                  "V Kelvane::MainPage::ParseSystemInfoDelimiter : <.^.>",
                  "V Kelvane::MainPage::ParseSystemInfoSplitString [0] = v(~!~)w, USB 4",
                  "V Kelvane::MainPage::ParseSystemInfoSplitString [1] = x",
                  "V Kelvane::MainPage::ParseSystemInfoExit", "V Kelvane::MainPage::ParseSystemInfoEntry",
                  "V Kelvane::MainPage::ParseSystemInfoFull String : v(~!~)w, USB 4",
                  "V Kelvane::MainPage::ParseSystemInfoDelimiter : (~!~)",
                  "V Kelvane::MainPage::ParseSystemInfoSplitString [0] = v",
                  "V Kelvane::MainPage::ParseSystemInfoSplitString [1] = w, USB 4",
                  "V Kelvane::MainPage::ParseSystemInfoExit"}));
}

/// The lines without those of the splits, whose every line is in the test above.
std::vector<std::string> LinesOf(std::u16string_view record, const DisplayTexts& texts) {
    auto lines = Readable(InterpretSystemInfo(record, texts).Lines);
    std::erase_if(lines,
                  [](const auto& line) { return line.find("::ParseSystemInfo") != std::string::npos; });
    return lines;
}

TEST(SystemInfoRecord, GivesTheTraceItsLines) {
    const std::string of = "Kelvane::MainPage::UpdateUI";
    const std::string bios = "Kelvane::MainPage::GetBiosPasswordStatus";
    EXPECT_EQ(LinesOf(u"a,b", Keys()),
              (std::vector<std::string>{
                  "V " + of + "Complete Sys Info : a,b", "I " + of + "Split String Count = 1",
                  "W " + of +
                      "Required Number of required Sys Info Components are not present when parsed with new "
                      "separator(<.^.>)",
                  "I " + of + "Retrying parsing with old separator (,)", "I " + of + "Split String Count = 2",
                  "E " + of +
                      "Required Number of required Sys Info Components are not correct/present when parsed "
                      "with new separator"}));
    const auto ofStatus = [&](const std::u16string& status, DisplayTexts texts = Keys()) {
        auto lines = LinesOf(LongForm(status), texts);
        lines.erase(lines.begin(), lines.begin() + 2);
        return lines;
    };
    EXPECT_EQ(ofStatus(u"7"),
              (std::vector<std::string>{
                  "V " + bios + "Entry", "V " + bios + "BIOS Password Status (Input) : 7",
                  "I " + bios + "Split String Count = 7",
                  "V " + bios + "BIOS Password Status (Output) : [BiosCredentialValuePassword/Text]",
                  "V " + bios + "Exit"}));
    EXPECT_EQ(ofStatus(u"x")[2], "C " + bios + "Bad input: std::invalid_argument thrown");
    EXPECT_EQ(ofStatus(u"99999999999")[2], "C " + bios + "Integer overflow: std::out_of_range thrown");
    auto windowless = Keys();
    windowless.HasWindow = false;
    EXPECT_EQ(ofStatus(u"7", windowless)[2], "E " + bios + "GetForCurrentThread() = NULL");
    EXPECT_EQ(InterpretSystemInfo(LongForm(u"7"), windowless).Value->BiosPassword, u"");
    EXPECT_EQ(LinesOf(u"a,b,c,8 usable,e,f,g,h,i,j", windowless).back(),
              "E " + of + "GetForCurrentThread() = NULL");
}

}  // namespace

}  // namespace Kelvane
