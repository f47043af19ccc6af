#include "pages/main/MainPage.h"

#include "platform/xaml/Window.h"
#include "service/HotkeyRpc.h"
#include "tests/application/ApplicationTest.h"
#include "tests/support/PackageScope.h"

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

TEST_F(MainPageTest, KeepsWhatASecondFillDoesNotKnow) {
    StartService();
    Run({[&] {
        Page()->UpdateUI(Record({u"null", u"", u"NULL", u"8 GB", u"e", u"f", u"g", u"null", u"i", u"j"}));
        EXPECT_EQ(Text(u"SysInfoValue0"), u"a");
        EXPECT_EQ(Text(u"SysInfoValue1"), u"b");
        EXPECT_EQ(Text(u"SysInfoValue2"), u"NULL");
        EXPECT_EQ(Text(u"SysInfoValue3"), u"8 GB");
        EXPECT_EQ(Text(u"SerialNumber"), u"h");
        EXPECT_EQ(Find<platform::TextBlock>(u"SysInfoValue8")->TextWrapping(), platform::TextWrapping::Wrap);
        Page()->UpdateUI(u"a,b,c,d,e,f,g,h,i,j,k,l");
        EXPECT_FALSE(IsVisible(u"BiosPasswordLabel")) << "as the fill before left it";
        Page()->UpdateUI(Record(Letters(11)));
        EXPECT_TRUE(IsVisible(u"BiosPasswordLabel"));
        EXPECT_TRUE(IsVisible(u"BiosPasswordValue"));
    }});
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

TEST_F(MainPageTest, CopiesTheSerialNumberWithoutTheElementThatShowsTheCheck) {
    const PackageScope package;
    package.Replace("MainPage.xaml", "x:Name=\"CopySerialNumber\"", "x:Name=\"Other\"");
    StartService();
    Run({[&] {
        Press(u"Other");
        EXPECT_EQ(m_world->ClipboardText(), u"h");
    }});
    EXPECT_TRUE(
        HasTraced("Kelvane::MainPage::CopySerialNumber_ClickError: CopySerialNumber button is not defined or "
                  "not accessible.\\n"));
}

TEST_F(MainPageTest, ReadsTheSerialNumberWithTheFirstFemaleVoice) {
    m_options.Voices = {
        {.Id = u"m", .DisplayName = u"", .Language = u"", .Gender = platform::VoiceGender::Male},
        {.Id = u"f", .DisplayName = u"", .Language = u"", .Gender = platform::VoiceGender::Female}};
    StartService();
    Run({[&] { Press(u"ReadSerialNumber"); }});
    EXPECT_EQ(m_world->Spoken().Spoken(), (std::vector<headless::HeadlessSpeech::Utterance>{{u"h", u"f"}}));
    using Speech = headless::HeadlessSpeech;
    EXPECT_EQ(m_world->Spoken().Sounds(), (std::vector<Speech::Sound>{{u"h", Speech::SoundState::Ended}}));
}

TEST_F(MainPageTest, ReadAloudWithoutAVoiceOrATextIsAnErrorLineAndNothingWorse) {
    EXPECT_EQ(Run({[&] { Press(u"ReadSerialNumber"); }}), 0);
    EXPECT_TRUE(HasTraced("Kelvane::MainPage::ReadSerialNumber_ClickSerial number text is empty.\\n"));
    EXPECT_TRUE(HasTraced("Kelvane::MainPage::ReadSerialNumber_ClickNo female voice available.\\n"));
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
