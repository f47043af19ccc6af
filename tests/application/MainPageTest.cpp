#include "pages/main/MainPage.h"

#include "platform/tasks/task.h"
#include "platform/xaml/Window.h"
#include "service/HotkeyRpc.h"
#include "tests/application/ApplicationTest.h"
#include "tests/support/PackageScope.h"
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
};

TEST_F(MainPageTest, ALaterRecordChangesTheRowsThatItHasValuesFor) {
    m_systemInformation = Record(Letters(9));
    StartService();
    std::vector<Step> steps = {[&] { Press(u"ExpandButton"); }};
    for (const auto& record :
         {Record(Letters(11)), Record(Letters(10)), std::u16string(u"A,B,C,D,E,F,G,H,I,J,K,L"),
          Record(Letters(9)),
          Record({u"null", u"", u"NULL", u"8 GB", u"e", u"f", u"g", u"null", u"i", u"7", u"k"})}) {
        steps.emplace_back([&, record] { Page()->UpdateUI(record); });
    }
    steps.emplace_back([&] {
        EXPECT_EQ(Find<platform::TextBlock>(u"SysInfoValue8")->TextWrapping(), platform::TextWrapping::Wrap);
    });
    Run(steps);
    ExpectTrace("LaterRecords");
}

TEST_F(MainPageTest, ShowsTheLongestRecordAndNoneThatIsLonger) {
    const auto letters = Record(Letters(10));
    const std::u16string first(998 - letters.size(), u'x');
    m_systemInformation = first + letters;
    StartService();
    Run({[&] {
             EXPECT_EQ(Find<platform::TextBlock>(u"SysInfoValue0")->Text(), first + u"a");
             m_systemInformation = u"x" + *m_systemInformation;
             platform::create_task([] { MainViewModel::GetInstance()->ReadSysInfoDetailsAsync(); });
         },
         [&] {
             char16_t record[1000]{u'?'};
             MainViewModel::GetInstance()->GetSysInfo(record, 999);
             EXPECT_EQ(std::u16string(record), u"");
         }});
}

TEST_F(MainPageTest, ExpandsToItsDetailsAndBackAndKeepsTheStateFromPageToPage) {
    StartService();
    const auto looks = [&](double height, std::u16string_view glyph) {
        EXPECT_EQ(m_world->Window().Size().Width, 640);
        EXPECT_EQ(m_world->Window().Size().Height, height);
        EXPECT_EQ(Find<platform::FontIcon>(u"ExpandIcon")->Glyph(), glyph);
    };
    Run({[&] {
             EXPECT_EQ(m_world->Window().MinimumSize().Width, 640);
             looks(210, u"\uE972");
             Press(u"ExpandButton");
             Press(u"RunSysDiagsbutton");
         },
         [&] { Press(u"CancelButton"); },
         [&] {
             looks(560, u"\uE971");
             Press(u"ExpandButton");
             looks(210, u"\uE972");
         }});
    ExpectTrace("Details");
}

TEST_F(MainPageTest, ValuesSwallowEveryKeyButTab) {
    StartService();
    Run({[&] {
        const auto value = Find<platform::TextBlock>(u"SysInfoValue0");
        value->Focus();
        EXPECT_TRUE(value->RaiseKey(platform::VirtualKey::C, true));
        EXPECT_TRUE(value->RaiseKey(platform::VirtualKey::Escape, false));
        EXPECT_FALSE(value->RaiseKey(platform::VirtualKey::Tab, true));
        PressKey(platform::VirtualKey::Tab);
        EXPECT_EQ(m_world->Window().Focused(), Find<platform::Button>(u"CopySysInfoValue0").get());
    }});
    ExpectTrace("MainPageKeys");
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
    ExpectTrace("Copy");
}

TEST_F(MainPageTest, CopiesTheSerialNumberWithoutTheElementThatShowsTheCheck) {
    const PackageScope package;
    package.Replace("MainPage.xaml", "x:Name=\"CopySerialNumber\"", "x:Name=\"Other\"");
    StartService();
    Run({[&] {
        Press(u"Other");
        EXPECT_EQ(m_world->ClipboardText(), u"h");
    }});
    ExpectTrace("CopyWithoutElement");
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
    ExpectTrace("ReadAloud");
}

TEST_F(MainPageTest, ReadAloudWithoutAVoiceOrATextIsAnErrorLineAndNothingWorse) {
    EXPECT_EQ(Run({[&] { Press(u"ReadSerialNumber"); }}), 0);
    EXPECT_EQ(m_errors, "");
    ExpectTrace("ReadAloudWithoutTextOrVoice");
}

}  // namespace

}  // namespace Kelvane
