#include "pages/main/MainPage.h"

#include "pages/main/SystemInfoRecord.h"
#include "platform/xaml/Window.h"
#include "service/HotkeyRpc.h"
#include "tests/application/ApplicationTest.h"
#include "viewmodel/MainViewModel.h"

namespace Kelvane {

namespace {

class MainPageTest : public ApplicationTest {
  protected:
    MainPageTest() { m_systemInformation = Record(Letters(10)); }

    std::shared_ptr<MainPage> Page() {
        return std::dynamic_pointer_cast<MainPage>(
            std::dynamic_pointer_cast<platform::Frame>(platform::Window::Current()->Content())->Content());
    }

    std::u16string Glyph() { return Find<platform::FontIcon>(u"ExpandIcon")->Glyph(); }
};

struct RecordCase {
    const char* name;
    std::u16string record;
    bool accepted;
    std::u16string first;
    std::u16string memory;
    bool bios;
};

void PrintTo(const RecordCase& each, std::ostream* out) {
    *out << each.name;
}

std::vector<RecordCase> RecordCases() {
    auto longForm = Letters(11);
    longForm[3] = u"16 GB (15.6 GB usable)";
    longForm[9] = u"0x10";
    const auto full = std::u16string(998 - Record(Letters(10)).size(), u'x') + Record(Letters(10));
    return {
        {"TenFields", Record(Letters(10)), true, u"a", u"d", false},
        {"ElevenFields", Record(longForm), true, u"a", u"16 GB (15.6 GB usable)", true},
        {"TrailingSeparator", Record(Letters(10)) + u"<.^.>", true, u"a", u"d", true},
        {"OldSeparator", u"a,b,c,d,e,f,g,h,i,j", true, u"a", u"d", false},
        {"TwelveOldFields", u"a,b,c,d,e,f,g,h,i,j,k,l", true, u"a", u"d", true},
        {"NineFields", Record(Letters(9)), false, u"", u"", true},
        {"Empty", u"", false, u"", u"", true},
        {"Longest", full, true, full.substr(0, full.find(u'<')), u"d", false},
        {"TooLong", u"x" + full, false, u"", u"", true},
    };
}

class RecordFormTest : public MainPageTest, public testing::WithParamInterface<RecordCase> {};

TEST_P(RecordFormTest, FillsTheRowsOrNone) {
    const auto& each = GetParam();
    m_systemInformation = each.record;
    StartService();
    Run({[&] {
        EXPECT_TRUE(IsVisible(u"SysInfoLabel0"));
        EXPECT_EQ(Text(u"SysInfoValue0"), each.first);
        EXPECT_EQ(Text(u"SysInfoValue3"), each.memory);
        EXPECT_EQ(IsVisible(u"BiosPasswordLabel"), each.bios);
        EXPECT_EQ(IsVisible(u"CopyBiosPasswordValue"), each.bios);
        EXPECT_EQ(IsVisible(u"Advanced"), each.accepted);
        EXPECT_EQ(IsVisible(u"RunSysDiagsbutton"), each.accepted);
    }});
}

INSTANTIATE_TEST_SUITE_P(Records, RecordFormTest, testing::ValuesIn(RecordCases()),
                         [](const auto& info) { return info.param.name; });

TEST_F(MainPageTest, KeepsAValueWhenASecondFillHasNone) {
    StartService();
    Run({[&] {
        Page()->UpdateUI(Record({u"null", u"", u"NULL", u"8 GB", u"e", u"f", u"g", u"null", u"i", u"j"}));
        EXPECT_EQ(Text(u"SysInfoValue0"), u"a");
        EXPECT_EQ(Text(u"SysInfoValue1"), u"b");
        EXPECT_EQ(Text(u"SysInfoValue2"), u"NULL");
        EXPECT_EQ(Text(u"SysInfoValue3"), u"8 GB");
        EXPECT_EQ(Text(u"SerialNumber"), u"h");
        EXPECT_EQ(Find<platform::TextBlock>(u"SysInfoValue8")->TextWrapping(), platform::TextWrapping::Wrap);
    }});
}

TEST_F(MainPageTest, NamesTheBiosCredentialOfEachStatus) {
    const std::pair<std::u16string, std::u16string> cases[] = {{u"0", u"Not set"},
                                                               {u"1", u"Password set"},
                                                               {u"15", u"Password set"},
                                                               {u"16", u"Veldra credential set"},
                                                               {u"0x10", u"Veldra credential set"},
                                                               {u"255", u"Veldra credential set"},
                                                               {u"256", u"Not set"},
                                                               {u"-1", u"Not set"},
                                                               {u"010", u"Password set"},
                                                               {u" 12abc", u"Password set"},
                                                               {u"letters", u""},
                                                               {u"99999999999", u""}};
    StartService();
    Run({[&] {
        for (const auto& [field, text] : cases) {
            EXPECT_EQ(Page()->GetBiosPasswordStatus(field), text);
        }
    }});
    EXPECT_TRUE(HasTraced("Kelvane::MainPage::GetBiosPasswordStatusBad input: std::invalid_argument thrown"));
    EXPECT_TRUE(
        HasTraced("Kelvane::MainPage::GetBiosPasswordStatusInteger overflow: std::out_of_range thrown"));
}

TEST_F(MainPageTest, TranslatesTheFirstUsableOnly) {
    EXPECT_EQ(ReplaceUsable(u"16 GB (15 usable, usable)", u"nutzbar"), u"16 GB (15 nutzbar, usable)");
    EXPECT_EQ(ReplaceUsable(u"16 GB (15 Usable)", u"nutzbar"), std::nullopt);
}

TEST_F(MainPageTest, OffersTheUsbTypeCPageForTheNamedGenerationsOnly) {
    EXPECT_TRUE(OffersUsbTypeCPage(u"USB 2.0, USB 3.2 Gen 2"));
    EXPECT_TRUE(OffersUsbTypeCPage(u"USB 2.0(~!~)USB 3.1 Gen 2(~!~), USB 3.2 Gen 2"));
    EXPECT_TRUE(OffersUsbTypeCPage(u"x,, USB 4,"));
    EXPECT_FALSE(OffersUsbTypeCPage(u"USB 4")) << "without the leading blank";
    EXPECT_FALSE(OffersUsbTypeCPage(u"x, USB 3.2 Gen 20"));
    EXPECT_FALSE(OffersUsbTypeCPage(u""));
}

TEST_F(MainPageTest, ShowsLabelsWithoutValuesWhenTheServiceIsAbsent) {
    Run({[&] {
        EXPECT_TRUE(IsVisible(u"SysInfoLabel0"));
        EXPECT_EQ(Text(u"SysInfoValue0"), u"");
        EXPECT_FALSE(IsVisible(u"Advanced"));
        EXPECT_FALSE(Find<platform::ProgressRing>(u"TitleBarProgressRing")->IsActive());
    }});
}

TEST_F(MainPageTest, NeedsTheUsbTypeCReadEverywhereButOnArm64) {
    m_usbTypeC.reset();
    m_options.Architecture = platform::ProcessorArchitecture::Arm64;
    StartService();
    Run({[&] { EXPECT_EQ(Text(u"SysInfoValue0"), u"a"); }});
    EXPECT_EQ(Calls(procedure::ReadUSBTypeCInfo), 0);
}

TEST_F(MainPageTest, FailsOnOtherMachinesWhenTheUsbTypeCReadFails) {
    m_usbTypeC.reset();
    m_options.Architecture = platform::ProcessorArchitecture::X64;
    StartService();
    Run({[&] { EXPECT_EQ(Text(u"SysInfoValue0"), u""); }});
    EXPECT_EQ(Calls(procedure::ReadUSBTypeCInfo), 1);
}

TEST_F(MainPageTest, ExpandsToItsDetailsAndBackAndKeepsTheStateFromPageToPage) {
    StartService();
    auto& options = m_options;
    options.ViewSize = {.Width = 640, .Height = 480};
    Run({[&] {
             EXPECT_EQ(m_world->Window().Size().Height, 210);
             EXPECT_EQ(m_world->Window().MinimumSize().Width, 640);
             Press(u"ExpandButton");
             EXPECT_EQ(m_world->Window().Size().Height, 560);
             EXPECT_TRUE(IsVisible(u"DetailsPanel"));
             EXPECT_EQ(Glyph(), u"\uE971");
             Press(u"RunSysDiagsbutton");
         },
         [&] { Press(u"CancelButton"); },
         [&] {
             EXPECT_TRUE(IsVisible(u"DetailsPanel"));
             EXPECT_EQ(Glyph(), u"\uE971");
             Press(u"ExpandButton");
             EXPECT_EQ(m_world->Window().Size().Width, 640);
             EXPECT_EQ(m_world->Window().Size().Height, 210);
             EXPECT_EQ(Glyph(), u"\uE972");
         }});
}

TEST_F(MainPageTest, ValuesSwallowEveryKeyButTab) {
    StartService();
    Run({[&] {
        const auto value = Find<platform::TextBlock>(u"SysInfoValue0");
        value->Focus();
        EXPECT_TRUE(value->RaiseKey(platform::VirtualKey::C, true));
        EXPECT_TRUE(value->RaiseKey(platform::VirtualKey::Escape, false));
        EXPECT_FALSE(value->RaiseKey(platform::VirtualKey::Tab, true));
        m_world->Window().PressKey(platform::VirtualKey::Tab);
        EXPECT_EQ(m_world->Window().Focused(), Find<platform::Button>(u"CopySysInfoValue0").get());
    }});
}

TEST_F(MainPageTest, CopiesAValueAndShowsTheCheckForAMoment) {
    m_systemInformation =
        Record({u"a", u"b", u"c", u"16 GB (15.6 GB usable)", u"e", u"f", u"g", u"S-7", u"i", u"1", u"k"});
    StartService();
    const auto isResting = [&](std::u16string_view name) {
        return std::dynamic_pointer_cast<platform::SymbolIcon>(Find<platform::Button>(name)->Content()) !=
               nullptr;
    };
    Run({[&] {
             Press(u"ExpandButton");
             Press(u"CopySysInfoValue3");
             EXPECT_EQ(m_world->ClipboardText(), u"16 GB (15.6 GB usable)");
             const auto icon = std::dynamic_pointer_cast<platform::FontIcon>(
                 Find<platform::Button>(u"CopySysInfoValue3")->Content());
             ASSERT_TRUE(icon);
             EXPECT_EQ(icon->Glyph(), u"\uEC61");
             EXPECT_EQ(icon->Foreground()->Color, platform::Colors::Green);
             Press(u"CopySysInfoValue3");
         },
         [&] {
             EXPECT_TRUE(isResting(u"CopySysInfoValue3"));
             Press(u"CopyBiosPasswordValue");
             EXPECT_EQ(m_world->ClipboardText(), u"Password set");
             Press(u"CopySerialNumber");
             EXPECT_EQ(m_world->ClipboardText(), u"S-7");
             EXPECT_FALSE(isResting(u"CopySerialNumber"));
         },
         [&] { EXPECT_TRUE(isResting(u"CopySerialNumber")); }});
}

TEST_F(MainPageTest, ReadsTheSerialNumberWithTheFirstFemaleVoice) {
    m_options.Voices = {
        {.Id = u"m", .DisplayName = u"", .Language = u"", .Gender = platform::VoiceGender::Male},
        {.Id = u"f", .DisplayName = u"", .Language = u"", .Gender = platform::VoiceGender::Female}};
    StartService();
    Run({[&] { Press(u"ReadSerialNumber"); }});
    EXPECT_EQ(m_world->Spoken().Spoken(), (std::vector<headless::HeadlessSpeech::Utterance>{{u"h", u"f"}}));
}

TEST_F(MainPageTest, ReadAloudWithoutAVoiceOrATextIsAnErrorLineAndNothingWorse) {
    EXPECT_EQ(Run({[&] { Press(u"ReadSerialNumber"); }}), 0);
    EXPECT_TRUE(HasTraced("Kelvane::MainPage::ReadSerialNumber_ClickSerial number text is empty."));
    EXPECT_TRUE(HasTraced("Kelvane::MainPage::ReadSerialNumber_ClickNo female voice available."));
    EXPECT_EQ(m_errors.find("nothing waited for"), std::string::npos) << m_errors;
}

TEST_F(MainPageTest, AsksForTheSystemInformationTool) {
    StartService();
    Run({[&] { Press(u"Advanced"); }});
    EXPECT_EQ(Calls(procedure::StartMSInfoApp), 1);
    EXPECT_TRUE(
        HasTraced("Kelvane::MainViewModel::LaunchSysInfo::<lambda_2>::operator ()StartMSInfoApp return = 0"));
}

}  // namespace

}  // namespace Kelvane
